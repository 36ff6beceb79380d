#include "core/ImageGrid.h"
#include "core/PictureLibrary.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QtGui>

#include <thread>

using pexi::ImageGrid;
using pexi::PictureLibrary;

namespace {

struct PixelCounts
{
    int covered = 0;   // any opacity
    int saturated = 0; // mostly opaque and clearly coloured
    int colours = 0;   // distinct colours of the mostly opaque pixels, to 4 bits a channel
    QRect bounds;      // of the covered pixels
};

PixelCounts countPixels(const QImage &picture)
{
    PixelCounts counts;
    QSet<QRgb> colours;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor c = picture.pixelColor(x, y);
            if (c.alpha() == 0)
                continue;
            ++counts.covered;
            counts.bounds |= QRect(x, y, 1, 1);
            if (c.alpha() >= 128) {
                colours.insert(c.rgb() & 0xf0f0f0);
                if (c.hsvSaturationF() > 0.3)
                    ++counts.saturated;
            }
        }
    }
    counts.colours = colours.size();
    return counts;
}

// How alike two pictures look: their 8x8 thumbnails compared colour by colour, averaged over
// the cells either picture covers. Averaging over the whole square would let the shared empty
// background make thin pictures (a paperclip, a bicycle) look alike.
QImage thumbnail(const QImage &picture)
{
    return picture.scaled(8, 8, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

double distance(const QImage &a, const QImage &b)
{
    double sum = 0;
    int cells = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            if (qAlpha(p) < 64 && qAlpha(q) < 64)
                continue;
            ++cells;
            const double dr = qRed(p) - qRed(q), dg = qGreen(p) - qGreen(q),
                         db = qBlue(p) - qBlue(q), da = qAlpha(p) - qAlpha(q);
            sum += std::sqrt(dr * dr + dg * dg + db * db + da * da) / 255;
        }
    }
    return cells == 0 ? 0 : sum / cells;
}

// Calibrated on the font: the same picture drawn 2 px smaller and off-centre scores up to 0.13,
// the plain and the smiling cat face 0.14, two grinning faces 0.03; the closest distinct
// pictures of the library score 0.22. Whether two different glyphs look alike to a person is
// beyond a pixel measure (cat and tiger faces score 0.49): the library is curated for that.
constexpr double alikeBelow = 0.18;

} // namespace

class TestPictureLibrary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names()
    {
        const QStringList &names = PictureLibrary::names();
        QVERIFY(names.size() >= 150);
        QCOMPARE(QSet<QString>(names.begin(), names.end()).size(), names.size());
        const QRegularExpression format(QStringLiteral("^[a-z]+(-[a-z]+)?$"));
        for (const QString &name : names) {
            QVERIFY2(format.match(name).hasMatch(), qPrintable(name));
            QVERIFY2(PictureLibrary::contains(name), qPrintable(name));
        }
        // Stored in vaults: a reordering or renaming here breaks existing grids.
        QCOMPARE(names.first(), QStringLiteral("cat"));
        QCOMPARE(&PictureLibrary::names(), &names);
    }

    void lookup_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("emoji");
        QTest::newRow("cat") << "cat" << QString::fromUcs4(U"\U0001F431");
        QTest::newRow("hyphenated") << "ferris-wheel" << QString::fromUcs4(U"\U0001F3A1");
        QTest::newRow("basic plane") << "anchor" << QString::fromUcs4(U"\u2693");
        QTest::newRow("last") << "pumpkin" << QString::fromUcs4(U"\U0001F383");
        QTest::newRow("capitalised") << "Cat" << QString();
        QTest::newRow("padded") << " cat" << QString();
        QTest::newRow("empty") << "" << QString();
        QTest::newRow("unknown") << "no-such-picture" << QString();
    }

    void lookup()
    {
        QFETCH(QString, name);
        QFETCH(QString, emoji);
        QCOMPARE(PictureLibrary::contains(name), !emoji.isEmpty());
        QCOMPARE(PictureLibrary::emoji(name), emoji);
        QCOMPARE(PictureLibrary::render(name, 32).isNull(), emoji.isEmpty());
    }

    void everyPictureRendersInColour_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString &name : PictureLibrary::names())
            QTest::newRow(qPrintable(name)) << name;
    }

    // A glyph the colour font lacks draws nothing; a stand-in from another font would be one
    // flat colour. Either fails here.
    void everyPictureRendersInColour()
    {
        QFETCH(QString, name);
        const int size = 64;
        const QImage picture = PictureLibrary::render(name, size);
        QVERIFY(!picture.isNull());
        QCOMPARE(picture.size(), QSize(size, size));
        QVERIFY(picture.hasAlphaChannel());
        const PixelCounts counts = countPixels(picture);
        QVERIFY2(counts.covered > size * size / 8, qPrintable(QString::number(counts.covered)));
        QVERIFY2(counts.colours >= 4, qPrintable(QString::number(counts.colours)));
    }

    // Some pictures are black and white (a soccer ball, a zebra), so colour is judged over the
    // library: drawn by a monochrome font instead, hardly any would count.
    void theLibraryIsColourful()
    {
        const QStringList &names = PictureLibrary::names();
        qsizetype colourful = 0;
        for (const QString &name : names) {
            const PixelCounts counts = countPixels(PictureLibrary::render(name, 64));
            if (counts.saturated > counts.covered / 10)
                ++colourful;
        }
        QVERIFY2(colourful >= names.size() * 9 / 10, qPrintable(QString::number(colourful)));
    }

    void renderSizes_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("size");
        for (const char *name : {"bus", "giraffe", "soccer"}) {
            for (int size : {1, 7, 16, 48, 128, 136, 300})
                QTest::addRow("%s at %d", name, size) << QString::fromLatin1(name) << size;
        }
    }

    void renderSizes()
    {
        QFETCH(QString, name);
        QFETCH(int, size);
        const QImage picture = PictureLibrary::render(name, size);
        QCOMPARE(picture.size(), QSize(size, size));
        if (size < 16)
            return; // no margin at these sizes
        const int margin = size / 16;
        const QRect b = countPixels(picture).bounds;
        QVERIFY2(QRect(margin, margin, size - 2 * margin, size - 2 * margin).contains(b),
                 qPrintable(QStringLiteral("%1,%2 %3x%4")
                                .arg(b.x())
                                .arg(b.y())
                                .arg(b.width())
                                .arg(b.height())));
        QVERIFY(std::max(b.width(), b.height()) >= size - 2 * margin - 1);
    }

    void renderRejects_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("size");
        QTest::newRow("unknown name") << "no-such-picture" << 64;
        QTest::newRow("empty name") << "" << 64;
        QTest::newRow("zero size") << "cat" << 0;
        QTest::newRow("negative size") << "cat" << -5;
    }

    void renderRejects()
    {
        QFETCH(QString, name);
        QFETCH(int, size);
        QVERIFY(PictureLibrary::render(name, size).isNull());
    }

    void renderIsCached()
    {
        const QImage first = PictureLibrary::render(QStringLiteral("rocket"), 77);
        const QImage again = PictureLibrary::render(QStringLiteral("rocket"), 77);
        QCOMPARE(again.cacheKey(), first.cacheKey());
        QVERIFY(PictureLibrary::render(QStringLiteral("rocket"), 78).cacheKey() !=
                first.cacheKey());
    }

    // Pictures may be prepared off the main thread; the results must match the main thread's.
    void renderFromThreads()
    {
        const QStringList &names = PictureLibrary::names();
        const int size = 41; // a size no other test renders, so the threads draw, not look up
        QList<QList<QImage>> results(8);
        std::vector<std::thread> threads;
        for (qsizetype t = 0; t < results.size(); ++t) {
            threads.emplace_back([&names, &results, t] {
                for (const QString &name : names)
                    results[t].append(PictureLibrary::render(name, size));
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        for (const QList<QImage> &images : results) {
            QCOMPARE(images.size(), names.size());
            for (qsizetype i = 0; i < names.size(); ++i)
                QVERIFY2(images[i] == PictureLibrary::render(names[i], size), qPrintable(names[i]));
        }
    }

    // The measure must see a picture drawn a little smaller and off-centre as itself, or it
    // would miss a picture listed twice.
    void alikeMeasureSeesResizedCopies()
    {
        for (const QString &name : PictureLibrary::names()) {
            QImage copy(64, 64, QImage::Format_ARGB32_Premultiplied);
            copy.fill(Qt::transparent);
            QPainter(&copy).drawImage(2, 2, PictureLibrary::render(name, 60));
            const double d = distance(thumbnail(PictureLibrary::render(name, 64)), thumbnail(copy));
            QVERIFY2(d < alikeBelow, qPrintable(QStringLiteral("%1 (%2)").arg(name).arg(d)));
        }
    }

    // A picture listed twice under two names, or glyphs missing from the font (which all
    // render the same), would leave grids with indistinguishable places.
    void noTwoPicturesLookAlike()
    {
        const QStringList &names = PictureLibrary::names();
        QList<QImage> thumbnails;
        for (const QString &name : names) {
            const QImage picture = PictureLibrary::render(name, 64);
            QVERIFY2(!picture.isNull(), qPrintable(name));
            thumbnails.append(thumbnail(picture));
        }
        QStringList alike;
        for (qsizetype i = 0; i < names.size(); ++i) {
            for (qsizetype j = i + 1; j < names.size(); ++j) {
                const double d = distance(thumbnails[i], thumbnails[j]);
                if (d < alikeBelow)
                    alike.append(
                        QStringLiteral("%1~%2 (%3)").arg(names[i], names[j]).arg(d, 0, 'f', 3));
            }
        }
        QVERIFY2(alike.isEmpty(), qPrintable(alike.join(QStringLiteral(", "))));
    }

    void gridRules_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<bool>("valid");
        const QStringList &all = PictureLibrary::names();
        QTest::newRow("fifteen distinct") << all.mid(0, 15) << true;
        QTest::newRow("fifteen from the end") << all.mid(all.size() - 15) << true;
        QTest::newRow("none") << QStringList() << false;
        QTest::newRow("fourteen") << all.mid(0, 14) << false;
        QTest::newRow("sixteen") << all.mid(0, 16) << false;
        QTest::newRow("a repeat") << all.mid(0, 14) + QStringList{all[0]} << false;
        QTest::newRow("a repeat among sixteen") << all.mid(0, 15) + QStringList{all[3]} << false;
        QTest::newRow("unknown name") << all.mid(0, 14) + QStringList{"no-such-picture"} << false;
        QTest::newRow("capitalised name") << all.mid(1, 14) + QStringList{"Cat"} << false;
        QTest::newRow("empty name") << all.mid(0, 14) + QStringList{QString()} << false;
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
        QCOMPARE(grid.pictureNames(), names);
    }

    void gridIndices_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("inRange");
        QTest::newRow("first") << 0 << true;
        QTest::newRow("middle") << 7 << true;
        QTest::newRow("last") << 14 << true;
        QTest::newRow("negative") << -1 << false;
        QTest::newRow("one past") << 15 << false;
        QTest::newRow("far past") << 1000 << false;
    }

    void gridIndices()
    {
        QFETCH(int, index);
        QFETCH(bool, inRange);
        const QStringList names = PictureLibrary::names().mid(20, 15);
        const ImageGrid grid(names);
        const std::optional<QImage> picture = grid.pictureForIndex(index, 48);
        QCOMPARE(picture.has_value(), inRange);
        QCOMPARE(grid.pictureName(index), inRange ? names[index] : QString());
        if (inRange) {
            QCOMPARE(picture->size(), QSize(48, 48));
            QCOMPARE(*picture, PictureLibrary::render(names[index], 48));
        }
        // An empty grid has no places at all.
        QVERIFY(!ImageGrid().pictureForIndex(index));
        QVERIFY(ImageGrid().pictureName(index).isEmpty());
    }

    void gridEquality()
    {
        const QStringList names = PictureLibrary::names().mid(0, 15);
        QStringList swapped = names;
        swapped.swapItemsAt(0, 1);
        QVERIFY(ImageGrid(names) == ImageGrid(names));
        QVERIFY(!(ImageGrid(names) == ImageGrid(swapped))); // places matter, not just the set
        QVERIFY(!(ImageGrid(names) == ImageGrid()));
        QVERIFY(ImageGrid() == ImageGrid());
    }
};

QTEST_MAIN(TestPictureLibrary)
#include "tst_picturelibrary.moc"
