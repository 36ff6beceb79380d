#pragma once

namespace pexi {

// Lets a screen reader see a recall grid's pictures, which the grid draws itself, as fifteen
// checkable buttons named by their letters ("Picture A"), described by what they show, and
// pressed to pick or unpick. Idempotent; the grid calls it when it is made.
void installRecallCollectionAccessibility();

} // namespace pexi
