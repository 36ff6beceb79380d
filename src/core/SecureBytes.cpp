#include "core/SecureBytes.h"

#include <sodium.h>

#include <cstring>
#include <new>
#include <utility>

namespace pexi {

SecureBytes::SecureBytes(std::size_t size) : m_size(size)
{
    if (size == 0)
        return;
    if (sodium_init() < 0)
        throw std::bad_alloc();
    // sodium_malloc: guard pages, no swapping where the system allows, wiped on free.
    m_data = static_cast<unsigned char *>(sodium_malloc(size));
    if (!m_data)
        throw std::bad_alloc();
}

SecureBytes SecureBytes::fromUtf8(const QString &text)
{
    QByteArray utf8 = text.toUtf8();
    SecureBytes bytes = fromBytes(utf8);
    sodium_memzero(utf8.data(), static_cast<std::size_t>(utf8.size()));
    return bytes;
}

SecureBytes SecureBytes::fromBytes(const QByteArray &bytes)
{
    SecureBytes result(static_cast<std::size_t>(bytes.size()));
    if (!bytes.isEmpty())
        std::memcpy(result.m_data, bytes.constData(), result.m_size);
    return result;
}

SecureBytes::SecureBytes(SecureBytes &&other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_size(std::exchange(other.m_size, 0))
{
}

SecureBytes &SecureBytes::operator=(SecureBytes &&other) noexcept
{
    if (this != &other) {
        clear();
        m_data = std::exchange(other.m_data, nullptr);
        m_size = std::exchange(other.m_size, 0);
    }
    return *this;
}

SecureBytes::~SecureBytes()
{
    clear();
}

SecureBytes SecureBytes::clone() const
{
    SecureBytes copy(m_size);
    if (m_size)
        std::memcpy(copy.m_data, m_data, m_size);
    return copy;
}

void SecureBytes::clear()
{
    if (m_data) {
        sodium_memzero(m_data, m_size);
        sodium_free(m_data);
    }
    m_data = nullptr;
    m_size = 0;
}

bool SecureBytes::equals(const SecureBytes &other) const
{
    if (m_size != other.m_size)
        return false;
    return m_size == 0 || sodium_memcmp(m_data, other.m_data, m_size) == 0;
}

} // namespace pexi
