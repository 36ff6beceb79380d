#include "inventory/PasteboardController.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QTest>

using namespace pexi;

class TestPasteboardController : public QObject
{
    Q_OBJECT

private slots:
    // Whatever the clipboard held goes; only the copied text is left, exactly, as plain text.
    void copyLeavesOnlyThePlainText()
    {
        QClipboard *clipboard = QGuiApplication::clipboard();
        auto *previous = new QMimeData;
        previous->setHtml("<b>old</b>");
        previous->setData("application/x-marker", "old");
        clipboard->setMimeData(previous);
        const QString copied = QStringLiteral("  pass word\t\nпароль-🔑");
        PasteboardController(clipboard).copy(copied);
        QCOMPARE(clipboard->mimeData()->formats(), QStringList{"text/plain"});
        QCOMPARE(clipboard->text(), copied);
    }
};

QTEST_MAIN(TestPasteboardController)
#include "tst_pasteboardcontroller.moc"
