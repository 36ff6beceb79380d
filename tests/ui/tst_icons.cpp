#include "ui/Icons.h"

#include <QApplication>
#include <QDir>
#include <QTest>

using namespace pexi;

class TestIcons : public QObject
{
    Q_OBJECT

private slots:
    // Every icon, drawn once, then again after the palette changed (as dark mode changes it): at
    // the size asked, in the mode's colour of the palette as it is then, and nothing else opaque.
    void followsTheApplicationPalette_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QPalette::ColorGroup>("group");
        QTest::addColumn<QPalette::ColorRole>("role");
        QTest::newRow("normal") << int(QIcon::Normal) << QPalette::Active << QPalette::Text;
        QTest::newRow("selected") << int(QIcon::Selected) << QPalette::Active
                                  << QPalette::HighlightedText;
        QTest::newRow("disabled") << int(QIcon::Disabled) << QPalette::Disabled << QPalette::Text;
    }
    void followsTheApplicationPalette()
    {
        QFETCH(int, mode);
        QFETCH(QPalette::ColorGroup, group);
        QFETCH(QPalette::ColorRole, role);
        const QStringList files = QDir(":/icons").entryList();
        QVERIFY(files.contains("iconCopy.svg") && files.contains("lock.svg"));
        for (const QString &file : files) {
            const QIcon icon = tintedIcon(file.chopped(4));
            for (const QColor color : {QColor(Qt::red), QColor(0x10, 0x80, 0xf0)}) {
                QPalette palette;
                palette.setColor(group, role, color);
                QApplication::setPalette(palette);
                const QImage image = icon.pixmap(QSize(18, 18), 2.0, QIcon::Mode(mode)).toImage();
                QCOMPARE(image.size(), QSize(36, 36));
                QSet<QRgb> opaque;
                for (int i = 0; i < 36 * 36; ++i) {
                    if (qAlpha(image.pixel(i % 36, i / 36)) == 255)
                        opaque << image.pixel(i % 36, i / 36);
                }
                QCOMPARE(opaque, QSet<QRgb>{color.rgb()});
            }
        }
        QVERIFY(tintedIcon("iconNoSuchThing").isNull());
    }
};

QTEST_MAIN(TestIcons)
#include "tst_icons.moc"
