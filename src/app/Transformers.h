#pragma once

#include <QVariant>

namespace pexi {

// Value conversions between a preference and the control that shows it.
class Transformers
{
public:
    // A two-entry pop-up whose first entry means yes, bound to a Bool preference: true is entry
    // 0; false, nothing or anything that is not a Bool is entry 1. Back: entry 0 is true, every
    // other value (another integer, nothing, a non-integer) false.
    class TrueZeroFalseOne
    {
    public:
        static QVariant transformedValue(const QVariant &value);
        static QVariant reverseTransformedValue(const QVariant &value);
    };
};

} // namespace pexi
