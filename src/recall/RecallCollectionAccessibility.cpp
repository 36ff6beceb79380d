#include "recall/RecallCollectionAccessibility.h"

#include "recall/RecallCollectionViewController.h"

#include <QAccessibleWidget>
#include <QPointer>

namespace pexi {

namespace {

class PictureAccessible : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    PictureAccessible(RecallCollectionViewController *grid, int index)
        : m_grid(grid), m_index(index)
    {
    }

    bool isValid() const override { return m_grid; }
    QObject *object() const override { return nullptr; }
    QWindow *window() const override { return m_grid ? m_grid->window()->windowHandle() : nullptr; }
    QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(m_grid.data());
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }

    QString text(QAccessible::Text kind) const override
    {
        if (!m_grid)
            return {};
        const RecallCollectionViewItem &item = m_grid->item(m_index);
        switch (kind) {
        case QAccessible::Name:
            return QStringLiteral("Picture %1").arg(item.letter());
        case QAccessible::Description:
            return item.pictureName();
        default:
            return {};
        }
    }
    void setText(QAccessible::Text, const QString &) override {}
    QRect rect() const override
    {
        if (!m_grid)
            return {};
        const QRect cell = m_grid->itemRect(m_index);
        return {m_grid->mapToGlobal(cell.topLeft()), cell.size()};
    }
    QAccessible::Role role() const override { return QAccessible::Button; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.checkable = true;
        state.checked = m_grid && m_grid->item(m_index).isSelected();
        state.invisible = !m_grid || !m_grid->isVisible();
        return state;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface
                   ? static_cast<QAccessibleActionInterface *>(this)
                   : nullptr;
    }
    QStringList actionNames() const override { return {pressAction(), toggleAction()}; }
    void doAction(const QString &name) override
    {
        if (m_grid && (name == pressAction() || name == toggleAction()))
            m_grid->toggleSelectionAt(m_index);
    }
    QStringList keyBindingsForAction(const QString &) const override
    {
        return {m_grid ? m_grid->item(m_index).letter() : QString()};
    }

private:
    QPointer<RecallCollectionViewController> m_grid;
    const int m_index;
};

// The grid, with a child for each picture. The children are made when first asked for and
// go with the grid's interface, which goes with the grid.
class GridAccessible : public QAccessibleWidget
{
public:
    explicit GridAccessible(RecallCollectionViewController *grid)
        : QAccessibleWidget(grid, QAccessible::Grouping)
    {
    }
    ~GridAccessible() override
    {
        for (QAccessible::Id id : std::as_const(m_children))
            if (id)
                QAccessible::deleteAccessibleInterface(id);
    }

    int childCount() const override { return ImageGrid::PictureCount; }
    QAccessibleInterface *child(int index) const override
    {
        if (index < 0 || index >= ImageGrid::PictureCount)
            return nullptr;
        QAccessible::Id &id = m_children[size_t(index)];
        if (!id)
            id = QAccessible::registerAccessibleInterface(new PictureAccessible(grid(), index));
        return QAccessible::accessibleInterface(id);
    }
    int indexOfChild(const QAccessibleInterface *child) const override
    {
        for (int index = 0; index < ImageGrid::PictureCount; ++index)
            if (m_children[size_t(index)] &&
                QAccessible::accessibleInterface(m_children[size_t(index)]) == child)
                return index;
        return -1;
    }
    QAccessibleInterface *childAt(int x, int y) const override
    {
        return child(grid()->indexAt(grid()->mapFromGlobal(QPoint(x, y))));
    }

private:
    RecallCollectionViewController *grid() const
    {
        return static_cast<RecallCollectionViewController *>(widget());
    }

    mutable std::array<QAccessible::Id, ImageGrid::PictureCount> m_children{};
};

QAccessibleInterface *gridAccessible(const QString &key, QObject *object)
{
    if (key != QLatin1String(RecallCollectionViewController::staticMetaObject.className()))
        return nullptr;
    return new GridAccessible(static_cast<RecallCollectionViewController *>(object));
}

} // namespace

void installRecallCollectionAccessibility()
{
    static const bool installed = [] {
        QAccessible::installFactory(&gridAccessible);
        return true;
    }();
    Q_UNUSED(installed);
}

} // namespace pexi
