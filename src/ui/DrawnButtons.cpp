#include "ui/DrawnButtons.h"

#include <QAccessibleWidget>
#include <QMouseEvent>
#include <QPointer>
#include <QWidget>

#include <vector>

namespace pexi {

// A child of the widget: it sees the widget's mouse presses and releases, and knows the buttons
// for as long as they exist.
class DrawnButtonsHandle : public QObject
{
    Q_OBJECT
public:
    DrawnButtonsHandle(QWidget *widget, DrawnButtons *buttons) : QObject(widget), buttons(buttons)
    {
        widget->installEventFilter(this);
    }
    QWidget *widget() const { return static_cast<QWidget *>(parent()); }

    // Null once the buttons are gone, while the rest of the widget is being destroyed.
    DrawnButtons *buttons;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        const auto type = event->type();
        // A quick second click comes as a double click instead of its press.
        const bool press = type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick;
        if (!buttons || !widget()->isEnabled() || (!press && type != QEvent::MouseButtonRelease))
            return false;
        const auto *mouse = static_cast<const QMouseEvent *>(event);
        const int at =
            mouse->button() == Qt::LeftButton ? buttons->buttonAt(mouse->position().toPoint()) : -1;
        // A click is a press and a release on the same button; the button takes both, as a
        // button widget would, and what is between buttons goes on as to any widget.
        if (press) {
            m_pressed = at;
            return at >= 0;
        }
        const int pressed = std::exchange(m_pressed, -1);
        if (pressed < 0)
            return false;
        if (pressed == at)
            buttons->pressButton(at);
        return true;
    }

private:
    int m_pressed = -1;
};

namespace {

class DrawnButtonAccessible : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    DrawnButtonAccessible(DrawnButtonsHandle *handle, int index) : m_handle(handle), m_index(index)
    {
    }

    bool isValid() const override { return buttons() && m_index < buttons()->buttonCount(); }
    QObject *object() const override { return nullptr; }
    QWindow *window() const override
    {
        return buttons() ? m_handle->widget()->window()->windowHandle() : nullptr;
    }
    QAccessibleInterface *parent() const override
    {
        return m_handle ? QAccessible::queryAccessibleInterface(m_handle->widget()) : nullptr;
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }

    QString text(QAccessible::Text kind) const override
    {
        if (!buttons())
            return {};
        if (kind == QAccessible::Name)
            return buttons()->buttonName(m_index);
        if (kind == QAccessible::Description)
            return buttons()->buttonDescription(m_index);
        return {};
    }
    void setText(QAccessible::Text, const QString &) override {}
    QRect rect() const override
    {
        if (!buttons())
            return {};
        const QRect button = buttons()->buttonRect(m_index);
        return {m_handle->widget()->mapToGlobal(button.topLeft()), button.size()};
    }
    QAccessible::Role role() const override { return QAccessible::Button; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.checkable = true;
        state.checked = isValid() && buttons()->isButtonChecked(m_index);
        state.invisible = !isValid() || !m_handle->widget()->isVisible();
        state.disabled = !isValid() || !m_handle->widget()->isEnabled();
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
        if (isValid() && m_handle->widget()->isEnabled() && name == pressAction())
            buttons()->pressButton(m_index);
    }
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    DrawnButtons *buttons() const { return m_handle ? m_handle->buttons : nullptr; }

    QPointer<DrawnButtonsHandle> m_handle;
    const int m_index;
};

// The widget, with a child for each button. The children are made when first asked for and
// go with the widget's interface, which goes with the widget.
class DrawnButtonsAccessible : public QAccessibleWidget
{
public:
    DrawnButtonsAccessible(QWidget *widget, DrawnButtonsHandle *handle)
        : QAccessibleWidget(widget, QAccessible::Grouping), m_handle(handle)
    {
    }
    ~DrawnButtonsAccessible() override
    {
        for (QAccessible::Id id : m_children)
            if (id)
                QAccessible::deleteAccessibleInterface(id);
    }

    int childCount() const override { return buttons() ? buttons()->buttonCount() : 0; }
    QAccessibleInterface *child(int index) const override
    {
        if (index < 0 || index >= childCount())
            return nullptr;
        if (size_t(index) >= m_children.size())
            m_children.resize(size_t(index) + 1);
        QAccessible::Id &id = m_children[size_t(index)];
        if (!id)
            id = QAccessible::registerAccessibleInterface(
                new DrawnButtonAccessible(m_handle, index));
        return QAccessible::accessibleInterface(id);
    }
    int indexOfChild(const QAccessibleInterface *child) const override
    {
        const int count = std::min(childCount(), int(m_children.size()));
        for (int index = 0; index < count; ++index)
            if (m_children[size_t(index)] &&
                QAccessible::accessibleInterface(m_children[size_t(index)]) == child)
                return index;
        return -1;
    }
    QAccessibleInterface *childAt(int x, int y) const override
    {
        return buttons() ? child(buttons()->buttonAt(widget()->mapFromGlobal(QPoint(x, y))))
                         : nullptr;
    }

private:
    DrawnButtons *buttons() const { return m_handle ? m_handle->buttons : nullptr; }

    QPointer<DrawnButtonsHandle> m_handle;
    mutable std::vector<QAccessible::Id> m_children;
};

QAccessibleInterface *drawnButtonsAccessible(const QString &className, QObject *object)
{
    // Asked once for each class the object is, its own first.
    if (className != QLatin1String(object->metaObject()->className()))
        return nullptr;
    auto *widget = qobject_cast<QWidget *>(object);
    auto *handle =
        widget ? widget->findChild<DrawnButtonsHandle *>(QString(), Qt::FindDirectChildrenOnly)
               : nullptr;
    return handle ? new DrawnButtonsAccessible(widget, handle) : nullptr;
}

} // namespace

DrawnButtons::DrawnButtons(QWidget *widget) : m_handle(new DrawnButtonsHandle(widget, this))
{
    static const bool installed = [] {
        QAccessible::installFactory(&drawnButtonsAccessible);
        return true;
    }();
    Q_UNUSED(installed);
}

DrawnButtons::~DrawnButtons()
{
    m_handle->buttons = nullptr;
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

void DrawnButtons::announceButtonsChanged() const
{
    QAccessibleEvent event(m_handle->widget(), QAccessible::ObjectReorder);
    QAccessible::updateAccessibility(&event);
}

void DrawnButtons::announceCheckedChange(int index) const
{
    QAccessible::State checked;
    checked.checked = true;
    QAccessibleStateChangeEvent event(m_handle->widget(), checked);
    event.setChild(index);
    QAccessible::updateAccessibility(&event);
}

} // namespace pexi

#include "DrawnButtons.moc"
