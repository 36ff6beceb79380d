#include "ui/Hud.h"

#include "ui/Appearance.h"
#include "ui/CenterAnchor.h"
#include "ui/PaddedLabel.h"

#include <QGraphicsOpacityEffect>
#include <QPropertyAnimation>
#include <QTimer>

namespace pexi {

namespace {

constexpr int hiddenFor = 300;  // ms before it shows
constexpr int shownFor = 1500;  // ms fully visible
constexpr int fadingFor = 250;  // ms of fading out
constexpr int aboveMiddle = 20; // px

} // namespace

QLabel *hudWithTitle(QWidget *view, const QString &title)
{
    auto *label = new PaddedLabel(title, view);
    label->setObjectName(QStringLiteral("hud"));
    label->setAccessibleName(title);
    label->setPadding(QMargins(12, 6, 12, 8));
    label->setCornerRadius(5);
    label->setFillColor(Qt::black);
    label->setAlignment(Qt::AlignCenter);
    label->setFont(Appearance::regularFont(13));
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, Qt::white);
    label->setPalette(palette);
    label->setAttribute(Qt::WA_TransparentForMouseEvents);
    label->adjustSize();
    new CenterAnchor(label, QPoint(0, -aboveMiddle));

    auto *opacity = new QGraphicsOpacityEffect(label);
    opacity->setOpacity(0);
    label->setGraphicsEffect(opacity);
    label->show();
    label->raise();

    QTimer::singleShot(hiddenFor, label, [label, opacity] {
        opacity->setOpacity(1);
        QTimer::singleShot(shownFor, label, [label, opacity] {
            auto *fade = new QPropertyAnimation(opacity, "opacity", label);
            fade->setDuration(fadingFor);
            fade->setEndValue(0.0);
            QObject::connect(fade, &QPropertyAnimation::finished, label, &QObject::deleteLater);
            fade->start();
        });
    });
    return label;
}

} // namespace pexi
