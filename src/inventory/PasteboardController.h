#pragma once

#include <QString>

class QClipboard;

namespace pexi {

// The copy of the item actions: the clipboard holds the one text copied, as plain text and
// nothing else, until something else replaces it; the worker never clears it later.
class PasteboardController
{
public:
    static PasteboardController &instance();
    explicit PasteboardController(QClipboard *clipboard = nullptr);

    // Whatever was on the clipboard goes, formats and all.
    void copy(const QString &text);

private:
    QClipboard *m_clipboard;
};

} // namespace pexi
