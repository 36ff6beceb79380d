#include "ui/PasswordLabel.h"

#include "ui/Appearance.h"

#include <QPainter>
#include <QTextLayout>

#include <cmath>

namespace pexi {

PasswordLabel::PasswordLabel(QWidget *parent) : QWidget(parent)
{
    setFont(Appearance::monospaceFont(15));
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void PasswordLabel::setText(const QString &text)
{
    m_text = text;
    updateGeometry();
    update();
}

qreal PasswordLabel::layOut(QTextLayout &layout, qreal width) const
{
    QTextOption option(Qt::AlignHCenter);
    option.setWrapMode(QTextOption::WrapAnywhere);
    layout.setText(m_text);
    layout.setFont(font());
    layout.setTextOption(option);
    qreal height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition(QPointF(0, height));
        height += line.height();
    }
    layout.endLayout();
    return height;
}

int PasswordLabel::heightForWidth(int width) const
{
    QTextLayout layout;
    const qreal height = layOut(layout, width);
    return std::max(fontMetrics().height(), int(std::ceil(height)));
}

QSize PasswordLabel::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(m_text), fontMetrics().height()};
}

QSize PasswordLabel::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * 8, fontMetrics().height()};
}

void PasswordLabel::paintEvent(QPaintEvent *)
{
    QTextLayout layout;
    const qreal height = layOut(layout, width());
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    layout.draw(&painter, QPointF(0, std::max<qreal>(0, (this->height() - height) / 2)));
}

} // namespace pexi
