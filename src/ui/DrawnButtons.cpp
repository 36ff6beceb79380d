#include "ui/DrawnButtons.h"

#include <QAccessibleWidget>
#include <QMouseEvent>
#include <QPointer>
#include <QWidget>

#include <vector>

namespace pexi {

namespace {

class DrawnButtonAccessible : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    DrawnButtonAccessible(QWidget *widget, DrawnButtons *buttons, int index)
        : m_widget(widget), m_buttons(buttons), m_index(index)
    {
    }

    bool isValid() const override { return m_widget; }
    QObject *object() const override { return nullptr; }
    QWindow *window() const override
    {
        return m_widget ? m_widget->window()->windowHandle() : nullptr;
    }
    QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(m_widget.data());
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }

    QString text(QAccessible::Text kind) const override
    {
        if (!m_widget)
            return {};
        if (kind == QAccessible::Name)
            return m_buttons->buttonName(m_index);
        if (kind == QAccessible::Description)
            return m_buttons->buttonDescription(m_index);
        return {};
    }
    void setText(QAccessible::Text, const QString &) override {}
    QRect rect() const override
    {
        if (!m_widget)
            return {};
        const QRect button = m_buttons->buttonRect(m_index);
        return {m_widget->mapToGlobal(button.topLeft()), button.size()};
    }
    QAccessible::Role role() const override { return QAccessible::Button; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.checkable = true;
        state.checked = m_widget && m_buttons->isButtonChecked(m_index);
        state.invisible = !m_widget || !m_widget->isVisible();
        return state;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface
                   ? static_cast<QAccessibleActionInterface *>(this)
                   : nullptr;
    }
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString &name) override
    {
        if (m_widget && name == pressAction())
            m_buttons->pressButton(m_index);
    }
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    QPointer<QWidget> m_widget;
    DrawnButtons *m_buttons;
    const int m_index;
};

// The widget, with a child for each button. The children are made when first asked for and
// go with the widget's interface, which goes with the widget.
class DrawnButtonsAccessible : public QAccessibleWidget
{
public:
    DrawnButtonsAccessible(QWidget *widget, DrawnButtons *buttons)
        : QAccessibleWidget(widget, QAccessible::Grouping), m_buttons(buttons),
          m_children(size_t(buttons->buttonCount()))
    {
    }
    ~DrawnButtonsAccessible() override
    {
        for (QAccessible::Id id : m_children)
            if (id)
                QAccessible::deleteAccessibleInterface(id);
    }

    int childCount() const override { return m_buttons->buttonCount(); }
    QAccessibleInterface *child(int index) const override
    {
        if (index < 0 || index >= m_buttons->buttonCount())
            return nullptr;
        if (size_t(index) >= m_children.size())
            m_children.resize(size_t(index) + 1);
        QAccessible::Id &id = m_children[size_t(index)];
        if (!id)
            id = QAccessible::registerAccessibleInterface(
                new DrawnButtonAccessible(widget(), m_buttons, index));
        return QAccessible::accessibleInterface(id);
    }
    int indexOfChild(const QAccessibleInterface *child) const override
    {
        for (size_t index = 0; index < m_children.size(); ++index)
            if (m_children[index] && QAccessible::accessibleInterface(m_children[index]) == child)
                return int(index);
        return -1;
    }
    QAccessibleInterface *childAt(int x, int y) const override
    {
        return child(m_buttons->buttonAt(widget()->mapFromGlobal(QPoint(x, y))));
    }

private:
    DrawnButtons *m_buttons;
    mutable std::vector<QAccessible::Id> m_children;
};

QAccessibleInterface *drawnButtonsAccessible(const QString &, QObject *object)
{
    auto *widget = qobject_cast<QWidget *>(object);
    auto *buttons = dynamic_cast<DrawnButtons *>(object);
    return widget && buttons ? new DrawnButtonsAccessible(widget, buttons) : nullptr;
}

} // namespace

DrawnButtons::DrawnButtons(QWidget *widget) : m_widget(widget)
{
    static const bool installed = [] {
        QAccessible::installFactory(&drawnButtonsAccessible);
        return true;
    }();
    Q_UNUSED(installed);
}

QString DrawnButtons::buttonDescription(int) const
{
    return {};
}

int DrawnButtons::buttonAt(QPoint point) const
{
    for (int index = 0; index < buttonCount(); ++index)
        if (buttonRect(index).contains(point))
            return index;
    return -1;
}

void DrawnButtons::trackPress(const QMouseEvent *event)
{
    m_pressed = event->button() == Qt::LeftButton ? buttonAt(event->position().toPoint()) : -1;
}

void DrawnButtons::trackRelease(const QMouseEvent *event)
{
    const int pressed = std::exchange(m_pressed, -1);
    if (event->button() == Qt::LeftButton && pressed >= 0 &&
        buttonAt(event->position().toPoint()) == pressed)
        pressButton(pressed);
}

void DrawnButtons::announceCheckedChange(int index) const
{
    QAccessible::State checked;
    checked.checked = true;
    QAccessibleStateChangeEvent event(m_widget, checked);
    event.setChild(index);
    QAccessible::updateAccessibility(&event);
}

} // namespace pexi
