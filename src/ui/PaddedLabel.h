#pragma once

#include <QColor>
#include <QLabel>
#include <QMargins>

namespace pexi {

// A label drawn on a rounded fill with room around its text. Transparent without a fill colour.
class PaddedLabel : public QLabel
{
    Q_OBJECT
public:
    explicit PaddedLabel(const QString &text = {}, QWidget *parent = nullptr);

    QMargins padding() const { return contentsMargins(); }
    void setPadding(const QMargins &padding);
    qreal cornerRadius() const { return m_cornerRadius; }
    void setCornerRadius(qreal radius);
    QColor fillColor() const { return m_fillColor; }
    void setFillColor(const QColor &color);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    qreal m_cornerRadius = 0;
    QColor m_fillColor;
};

} // namespace pexi
