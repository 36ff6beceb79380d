#pragma once

namespace pexi {

class RecallCollectionViewController;

// Told after every pick or unpick that a grid accepted.
class RecallCollectionViewControllerDelegate
{
public:
    virtual ~RecallCollectionViewControllerDelegate() = default;
    virtual void
    recallCollectionViewControllerDidSelectItem(RecallCollectionViewController *controller) = 0;
};

} // namespace pexi
