#include "core/ImageGrid.h"

#include "core/PictureLibrary.h"

#include <algorithm>
#include <stdexcept>

namespace pexi {

ImageGrid::ImageGrid(QStringList pictureNames) : m_pictureNames(std::move(pictureNames))
{
    if (m_pictureNames.size() != PictureCount)
        throw std::invalid_argument("a grid holds exactly fifteen pictures");
    // Fifteen names compared pairwise: cheaper than hashing them into a set, and grids are read
    // each time the unlock is about to show.
    for (auto name = m_pictureNames.cbegin(); name != m_pictureNames.cend(); ++name) {
        if (std::find(m_pictureNames.cbegin(), name, *name) != name)
            throw std::invalid_argument("a grid shows each picture once");
    }
    for (const QString &name : m_pictureNames) {
        if (!PictureLibrary::contains(name))
            throw std::invalid_argument("a grid names a picture this program does not have");
    }
}

QString ImageGrid::pictureName(int index) const
{
    return m_pictureNames.value(index);
}

std::optional<QImage> ImageGrid::pictureForIndex(int index, int size) const
{
    if (index < 0 || index >= m_pictureNames.size())
        return std::nullopt;
    return PictureLibrary::render(m_pictureNames.at(index), size);
}

} // namespace pexi
