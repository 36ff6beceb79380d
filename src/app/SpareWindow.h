#pragma once

#include "recall/RecallViewController.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>

namespace pexi {

class FloatingWindow;
class RecallWrapperViewController;

// Makes the floating window's unlock ahead of a click: one window with a new unlock in it,
// built and laid out while the event loop has nothing else to do, and never shown. A person
// clicks seconds apart, so a click shows a window already made instead of making one.
// What the unlock shows is read from the vault when it is built; the spare is given out only
// while the vault would still show the same (no vault made, re-created or gone since).
class SpareWindow : public QObject
{
    Q_OBJECT
public:
    struct Window
    {
        FloatingWindow *window;
        RecallWrapperViewController *recall;
    };

    explicit SpareWindow(RecallServices services, QObject *parent = nullptr);
    ~SpareWindow() override;

    // Builds a spare once the events waiting now are handled, unless one is there or coming.
    void prepareWhenIdle();
    // The spare when it is current, else a window made now; never shown before either way.
    // The spare's place is empty afterwards.
    Window take();
    // The window waiting to be taken, if one is.
    FloatingWindow *spare() const { return m_spare; }

private:
    // What a new unlock shows: the making of a vault, or the vault's grids. Compared before
    // every showing, so it holds the header's own lists, which compare at once while shared.
    struct Shows
    {
        bool vaultExists = false;
        QList<QStringList> gridNames;
        bool operator==(const Shows &) const = default;
    };
    Shows current() const;
    Window build();

    RecallServices m_services;
    QPointer<FloatingWindow> m_spare;
    RecallWrapperViewController *m_spareRecall = nullptr; // in the spare window
    Shows m_spareShows;
    bool m_scheduled = false;
};

} // namespace pexi
