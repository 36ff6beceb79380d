#pragma once

#include "support/RecordingLauncher.h"
#include "support/TemporaryVault.h"

#include "extension/BrowserController.h"
#include "recall/RecallViewController.h"
#include "recall/RecallViewControllerDelegate.h"

#include <QApplication>
#include <QTest>

// The unlock screen on a real vault (or on none yet, as on the first run), shown and active as the
// user would have it; it counts the unlocks the screen reports.
class RecallScreen : public pexi::RecallViewControllerDelegate
{
public:
    explicit RecallScreen(bool withVault) : v(withVault)
    {
        screen.setDelegate(this);
        screen.resize(320, 560);
        screen.show();
        screen.activateWindow();
        (void)QTest::qWaitForWindowActive(&screen);
    }

    void recallViewControllerDidUnlock(pexi::RecallViewController *) override
    {
        ++unlocks;
        ticksAtUnlock = ticks;
    }

    // A key as a person types it, to whatever has the focus: "<" and ">" are the arrows.
    static void press(QChar key)
    {
        QWidget *focus = QApplication::focusWidget();
        if (key == u'<' || key == u'>')
            QTest::keyClick(focus, key == u'<' ? Qt::Key_Left : Qt::Key_Right);
        else
            QTest::keyClick(focus, key.toLatin1());
    }

    TemporaryVault v;
    pexi::GridLibrary grids{v.vault};
    RecordingLauncher launcher;
    pexi::BrowserController browser{launcher};
    pexi::RecallViewController screen{{grids, v.vault, v.locker, browser, launcher}};
    int unlocks = 0;
    int ticks = 0, ticksAtUnlock = -1; // of a timer a test may run meanwhile
};
