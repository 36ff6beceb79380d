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
    // The picture centred on a transparent square of `size` pixels, scaled to fill it but for a
    // thin margin; a null image for unknown names, sizes below one, or when the colour font
    // lacks the glyph. Needs a QGuiApplication; callable from any thread (results are cached).
    static QImage render(const QString &name, int size = 128);
};

} // namespace pexi
