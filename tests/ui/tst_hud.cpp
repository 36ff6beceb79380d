#include "ui/Hud.h"

#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QPointer>
#include <QTest>

using namespace pexi;

class TestHud : public QObject
{
    Q_OBJECT

    static qreal opacity(QLabel *hud)
    {
        return static_cast<QGraphicsOpacityEffect *>(hud->graphicsEffect())->opacity();
    }
    // Within a pixel: an odd width or height cannot be centred exactly.
    static bool centredAt(QLabel *hud, QPointF centre)
    {
        return (QRectF(hud->geometry()).center() - centre).manhattanLength() <= 1;
    }

private slots:
    // Overlays shown in quick succession each appear, stay a little above the middle of their
    // view as it resizes, and go.
    void twoAtOnce()
    {
        QWidget view;
        view.resize(300, 400);
        view.show();
        QPointer<QLabel> first = hudWithTitle(&view, "Password copied");
        QPointer<QLabel> second = hudWithTitle(&view, "Username copied");
        QCOMPARE(opacity(first), 0.0);
        QVERIFY(centredAt(first, {150, 180}));
        view.resize(500, 200);
        QVERIFY(centredAt(second, {250, 80}));

        QTRY_VERIFY(first && second && opacity(first) == 1.0 && opacity(second) == 1.0);
        QVERIFY(first->isVisible() && second->isVisible());
        QTRY_VERIFY(!first && !second);
    }
};

QTEST_MAIN(TestHud)
#include "tst_hud.moc"
