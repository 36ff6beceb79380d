#include "ui/Icons.h"

#include <QApplication>
#include <QDir>
#include <QTest>

using namespace pexi;

namespace {

// The colours of the fully opaque pixels: one, the tint, when the shape kept only its outline.
QSet<QRgb> opaqueColors(const QPixmap &pixmap)
{
    const QImage image = pixmap.toImage();
    QSet<QRgb> colors;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) == 255)
                colors << (image.pixel(x, y) | 0xff000000);
        }
    }
    return colors;
}

} // namespace

class TestIcons : public QObject
{
    Q_OBJECT

private slots:
    // Every icon of the screens, in each mode, after the application palette changed (as a switch
    // to dark mode changes it): drawn at the size asked, in the colour of the palette then.
    void followsTheApplicationPalette_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QColor>("expected");
        QTest::newRow("normal") << int(QIcon::Normal) << QColor(0x10, 0x20, 0x30);
        QTest::newRow("selected") << int(QIcon::Selected) << QColor(0xf0, 0xe0, 0xd0);
        QTest::newRow("disabled") << int(QIcon::Disabled) << QColor(0x80, 0x81, 0x82);
    }
    void followsTheApplicationPalette()
    {
        QFETCH(int, mode);
        QFETCH(QColor, expected);
        const QStringList names = QDir(":/icons").entryList();
        QVERIFY(names.contains("iconCopy.svg") && names.contains("lock.svg"));
        for (const QString &file : names) {
            const QString name = file.chopped(4);
            const QIcon icon = tintedIcon(name);
            QPalette palette;
            palette.setColor(QPalette::Text, Qt::red);
            QApplication::setPalette(palette);
            // Drawn once before the change: a picture kept from then would still be red.
            QCOMPARE(opaqueColors(icon.pixmap(QSize(18, 18), 2.0)),
                     QSet<QRgb>{QColor(Qt::red).rgb()});

            palette.setColor(QPalette::Active, QPalette::Text, expected);
            palette.setColor(QPalette::Inactive, QPalette::Text, expected);
            palette.setColor(QPalette::HighlightedText, expected);
            palette.setColor(QPalette::Disabled, QPalette::Text, expected);
            QApplication::setPalette(palette);
            const QPixmap pixmap = icon.pixmap(QSize(18, 18), 2.0, QIcon::Mode(mode));
            QCOMPARE(pixmap.size(), QSize(36, 36));
            QCOMPARE(opaqueColors(pixmap), QSet<QRgb>{expected.rgb()});
        }
        QVERIFY(tintedIcon("iconNoSuchThing").isNull());
    }
};

QTEST_MAIN(TestIcons)
#include "tst_icons.moc"
