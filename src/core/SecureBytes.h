#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>

namespace pexi {

// Secret bytes (keys, recall secrets) in guarded memory that is wiped when released.
// Move-only, so a secret is never copied by accident.
class SecureBytes
{
public:
    SecureBytes() = default;
    explicit SecureBytes(std::size_t size);
    static SecureBytes fromUtf8(const QString &text);
    static SecureBytes fromBytes(const QByteArray &bytes);
    SecureBytes(SecureBytes &&other) noexcept;
    SecureBytes &operator=(SecureBytes &&other) noexcept;
    SecureBytes(const SecureBytes &) = delete;
    SecureBytes &operator=(const SecureBytes &) = delete;
    ~SecureBytes();

    SecureBytes clone() const;
    void clear();

    unsigned char *data() { return m_data; }
    const unsigned char *data() const { return m_data; }
    std::size_t size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }
    // Constant time; false for different sizes.
    bool equals(const SecureBytes &other) const;

private:
    unsigned char *m_data = nullptr;
    std::size_t m_size = 0;
};

} // namespace pexi
