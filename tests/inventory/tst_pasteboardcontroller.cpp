#include "inventory/PasteboardController.h"

#include <QApplication>
#include <QClipboard>
#include <QImage>
#include <QMimeData>
#include <QTest>

using namespace pexi;

class TestPasteboardController : public QObject
{
    Q_OBJECT

private slots:
    // What the clipboard held before (nothing, rich text, a picture), then the copied text: only
    // that text is left, exactly as given, as plain text.
    void copyLeavesOnlyThePlainText_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("copied");
        QTest::newRow("empty clipboard") << ""
                                         << "ada@example.org";
        QTest::newRow("after rich text") << "html"
                                         << "  pass word\t";
        QTest::newRow("after a picture") << "image"
                                         << "пароль-🔑\nline two";
    }
    void copyLeavesOnlyThePlainText()
    {
        QFETCH(QString, before);
        QFETCH(QString, copied);
        QClipboard *clipboard = QGuiApplication::clipboard();
        clipboard->clear();
        auto *previous = new QMimeData;
        if (before == "html")
            previous->setHtml("<b>old</b>");
        if (before == "image")
            previous->setImageData(QImage(4, 4, QImage::Format_RGB32));
        if (!before.isEmpty()) {
            previous->setData("application/x-old", "marker");
            clipboard->setMimeData(previous);
        } else {
            delete previous;
        }

        PasteboardController(clipboard).copy(copied);

        QCOMPARE(clipboard->mimeData()->formats(), QStringList{"text/plain"});
        QCOMPARE(clipboard->text(), copied);
    }
};

QTEST_MAIN(TestPasteboardController)
#include "tst_pasteboardcontroller.moc"
