#include "app/Transformers.h"

namespace pexi {

QVariant Transformers::TrueZeroFalseOne::transformedValue(const QVariant &value)
{
    const bool isTrue = value.typeId() == QMetaType::Bool && value.toBool();
    return isTrue ? 0 : 1;
}

QVariant Transformers::TrueZeroFalseOne::reverseTransformedValue(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return value.toLongLong() == 0;
    default:
        return false;
    }
}

} // namespace pexi
