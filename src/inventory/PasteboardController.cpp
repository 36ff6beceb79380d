#include "inventory/PasteboardController.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace pexi {

PasteboardController &PasteboardController::instance()
{
    static PasteboardController controller;
    return controller;
}

PasteboardController::PasteboardController(QClipboard *clipboard)
    : m_clipboard(clipboard ? clipboard : QGuiApplication::clipboard())
{
}

void PasteboardController::copy(const QString &text)
{
    // A fresh object with text/plain only: no rich text or type markers a clipboard manager or
    // another application could keep apart from the text.
    auto *data = new QMimeData;
    data->setText(text);
    m_clipboard->setMimeData(data);
}

} // namespace pexi
