#pragma once

namespace pexi {

class RecallViewController;

// Told once for each unlock the recall screen makes.
class RecallViewControllerDelegate
{
public:
    virtual ~RecallViewControllerDelegate() = default;
    virtual void recallViewControllerDidUnlock(RecallViewController *controller) = 0;
};

} // namespace pexi
