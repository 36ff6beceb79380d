#pragma once

#include <QImage>
#include <QStringList>

#include <optional>

namespace pexi {

// One grid of the unlock: fifteen distinct pictures addressed by index 0 to 14, row by row.
class ImageGrid
{
public:
    static constexpr int PictureCount = 15;

    ImageGrid() = default;
    // Throws std::invalid_argument unless given fifteen distinct names of the picture library.
    explicit ImageGrid(QStringList pictureNames);

    const QStringList &pictureNames() const { return m_pictureNames; }
    // Empty when out of range.
    QString pictureName(int index) const;
    // Nothing when out of range.
    std::optional<QImage> pictureForIndex(int index, int size = 128) const;

    bool operator==(const ImageGrid &) const = default;

private:
    QStringList m_pictureNames;
};

} // namespace pexi
