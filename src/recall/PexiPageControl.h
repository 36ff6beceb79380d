#pragma once

#include "recall/PageControl.h"

namespace pexi {

// The page control in the worker's colours: round dots, the current one in the accent colour.
// Follows light and dark mode.
class PexiPageControl : public PageControl
{
    Q_OBJECT
public:
    explicit PexiPageControl(QWidget *parent = nullptr);

private:
    void paintDots();
};

} // namespace pexi
