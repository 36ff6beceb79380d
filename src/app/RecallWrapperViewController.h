#pragma once

#include "recall/RecallViewController.h"

#include <QWidget>

namespace pexi {

// The floating window's first screen: the unlock (or, without a vault, its making). The list is
// presented over it while the vault is open.
class RecallWrapperViewController : public QWidget
{
    Q_OBJECT
public:
    // The floating window's size, which every screen in it takes.
    static constexpr QSize size{340, 440};

    explicit RecallWrapperViewController(RecallServices services = {}, QWidget *parent = nullptr);

    RecallViewController *mainViewController() const { return m_mainViewController; }

private:
    RecallViewController *m_mainViewController;
};

} // namespace pexi
