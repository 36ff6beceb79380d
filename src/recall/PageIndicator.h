#pragma once

#include <QAbstractButton>

namespace pexi {

// One dot of a page control: its icon's "on" picture while checked, its "off" one otherwise,
// and nothing else. A tool button drew the same through the style and a style sheet of its own,
// which took longer than the grid's fifteen pictures together.
class PageIndicator : public QAbstractButton
{
    Q_OBJECT
public:
    explicit PageIndicator(QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace pexi
