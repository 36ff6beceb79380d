#include "core/ImageGrid.h"
#include "core/PictureLibrary.h"

#include <QPainter>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

using pexi::ImageGrid;
using pexi::PictureLibrary;

namespace {

// A picture as a small colour thumbnail on white, for comparing how alike two look.
QList<QColor> thumbnail(const QImage &picture)
{
    QImage flat(picture.size(), QImage::Format_RGB32);
    flat.fill(QColor(128, 128, 128)); // light and dark pictures alike stand out on grey
    QPainter(&flat).drawImage(0, 0, picture);
    const QImage small = flat.scaled(8, 8, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    QList<QColor> pixels;
    for (int y = 0; y < small.height(); ++y)
        for (int x = 0; x < small.width(); ++x)
            pixels.append(small.pixelColor(x, y));
    return pixels;
}

// Twins of one glyph (the plain and the smiling cat face) score 0.02, two missing glyphs 0,
// the closest distinct pictures of the library 0.04. Telling whether two different glyphs
// look alike to a person is beyond a pixel measure: the library is curated for that.
constexpr double minimumDistance = 0.03;

double distance(const QList<QColor> &a, const QList<QColor> &b)
{
    double sum = 0;
    for (int i = 0; i < a.size(); ++i) {
        const double dr = a[i].redF() - b[i].redF();
        const double dg = a[i].greenF() - b[i].greenF();
        const double db = a[i].blueF() - b[i].blueF();
        sum += std::sqrt(dr * dr + dg * dg + db * db);
    }
    return sum / a.size();
}

} // namespace

class TestPictureLibrary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names()
    {
        const QStringList names = PictureLibrary::names();
        QVERIFY(names.size() >= 150);
        QCOMPARE(QSet<QString>(names.begin(), names.end()).size(), names.size());
        const QRegularExpression format(QStringLiteral("^[a-z]+(-[a-z]+)?$"));
        for (const QString &name : names)
            QVERIFY2(format.match(name).hasMatch(), qPrintable(name));
        QVERIFY(!PictureLibrary::contains(QStringLiteral("Cat")));
        QVERIFY(PictureLibrary::render(QStringLiteral("no-such-picture")).isNull());
    }

    // A glyph the font lacks renders as nothing or as a blank box: neither is colourful.
    void everyPictureRendersInColour()
    {
        for (const QString &name : PictureLibrary::names()) {
            const QImage picture = PictureLibrary::render(name, 64);
            QCOMPARE(picture.size(), QSize(64, 64));
            int covered = 0;
            QSet<QRgb> shades; // a fallback text glyph is one flat colour
            for (int y = 0; y < picture.height(); ++y) {
                for (int x = 0; x < picture.width(); ++x) {
                    const QColor c = picture.pixelColor(x, y);
                    if (c.alpha() > 0) {
                        ++covered;
                        shades.insert(c.rgb() & 0xf8f8f8);
                    }
                }
            }
            QVERIFY2(covered > 64 * 64 / 10, qPrintable(name + " is nearly empty"));
            QVERIFY2(shades.size() >= 3, qPrintable(name + " is drawn in one flat colour"));
        }
    }

    // A picture listed twice under two names, or glyphs missing from the font (which all
    // render the same), would leave grids with indistinguishable places.
    void noTwoPicturesRenderTheSame()
    {
        const QStringList names = PictureLibrary::names();
        QList<QList<QColor>> thumbnails;
        for (const QString &name : names)
            thumbnails.append(thumbnail(PictureLibrary::render(name, 64)));
        QStringList alike;
        for (int i = 0; i < names.size(); ++i) {
            for (int j = i + 1; j < names.size(); ++j) {
                const double d = distance(thumbnails[i], thumbnails[j]);
                if (d < minimumDistance)
                    alike.append(QStringLiteral("%1~%2 (%3)").arg(names[i], names[j]).arg(d, 0, 'f', 3));
            }
        }
        QVERIFY2(alike.isEmpty(), qPrintable(alike.join(QStringLiteral(", "))));
    }

    void gridRules_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<bool>("valid");
        const QStringList all = PictureLibrary::names();
        QTest::newRow("fifteen distinct") << all.mid(0, 15) << true;
        QTest::newRow("fourteen") << all.mid(0, 14) << false;
        QTest::newRow("sixteen") << all.mid(0, 16) << false;
        QTest::newRow("a repeat") << all.mid(0, 14) + QStringList{all[0]} << false;
        QTest::newRow("unknown name") << all.mid(0, 14) + QStringList{"no-such-picture"} << false;
    }

    void gridRules()
    {
        QFETCH(QStringList, names);
        QFETCH(bool, valid);
        if (!valid) {
            QVERIFY_THROWS_EXCEPTION(std::invalid_argument, ImageGrid{names});
            return;
        }
        const ImageGrid grid(names);
        QCOMPARE(grid.pictureName(14), names[14]);
        QVERIFY(grid.pictureName(15).isEmpty());
        QVERIFY(!grid.pictureForIndex(-1));
        QVERIFY(!grid.pictureForIndex(15));
        const std::optional<QImage> first = grid.pictureForIndex(0, 48);
        QVERIFY(first && first->size() == QSize(48, 48));
        QCOMPARE(*first, PictureLibrary::render(names[0], 48));
    }
};

QTEST_MAIN(TestPictureLibrary)
#include "tst_picturelibrary.moc"
