#include "extension/JsonReader.h"

namespace pexi {

simdjson::simdjson_result<simdjson::dom::element> JsonReader::read(const QByteArray &text)
{
    // Only read; Qt 6.4 has no const data_ptr().
    const qsizetype room = const_cast<QByteArray &>(text).data_ptr().freeSpaceAtEnd();
    return m_parser.parse(text.constData(), size_t(text.size()),
                          room < qsizetype(simdjson::SIMDJSON_PADDING));
}

} // namespace pexi
