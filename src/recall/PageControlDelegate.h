#pragma once

namespace pexi {

class PageControl;

// Told which indicator the user clicked.
class PageControlDelegate
{
public:
    virtual ~PageControlDelegate() = default;
    virtual void pageControl(PageControl *control, int didSelectPageAt) = 0;
};

} // namespace pexi
