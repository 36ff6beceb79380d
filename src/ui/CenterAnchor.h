#pragma once

#include <QObject>
#include <QPoint>

class QWidget;

namespace pexi {

// Keeps a widget centred over its parent, moved by `offset`, however the parent or the widget
// is resized. Owned by the widget.
class CenterAnchor : public QObject
{
    Q_OBJECT
public:
    CenterAnchor(QWidget *widget, QPoint offset);

    // Where `widget` goes now.
    static QPoint position(const QWidget *widget, QPoint offset);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void place();

    QWidget *m_widget;
    QPoint m_offset;
};

} // namespace pexi
