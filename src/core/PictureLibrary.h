#pragma once

#include <QImage>
#include <QStringList>

namespace pexi {

// The pictures of the unlock grids: recognisable emoji from the colour emoji font, each with a
// stable lower-case name. Names are stored in users' vaults (the grids and, through the secret,
// the key), so a name never changes and a picture is never removed; new ones go at the end.
// No two pictures look alike, so a grid never asks the user to tell near twins apart.
class PictureLibrary
{
public:
    static const QStringList &names();
    static bool contains(const QString &name);
    // The emoji text of a picture; empty for unknown names.
    static QString emoji(const QString &name);
    // The picture on a transparent square of `size` pixels; a null image for unknown names.
    // Needs a QGuiApplication; main thread only (rendered pictures are cached).
    static QImage render(const QString &name, int size = 128);
};

} // namespace pexi
