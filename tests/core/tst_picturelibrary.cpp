#include "core/ImageGrid.h"
#include "core/PictureLibrary.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QtGui>

using namespace pexi;

namespace {

// Distinct colours (4 bits a channel) of the mostly opaque pixels, and how many pixels are covered.
std::pair<int, int> coloursAndCover(const QImage &picture)
{
    QSet<QRgb> colours;
    int covered = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor c = picture.pixelColor(x, y);
            covered += c.alpha() > 0;
            if (c.alpha() >= 128)
                colours.insert(c.rgb() & 0xf0f0f0);
        }
    }
    return {int(colours.size()), covered};
}

// How alike two pictures look: 8x8 thumbnails compared over the cells either covers (a shared
// empty background would make thin pictures look alike).
double distance(const QImage &a, const QImage &b)
{
    const auto thumb = [](const QImage &p) {
        return p.scaled(8, 8, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
            .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    };
    const QImage ta = thumb(a), tb = thumb(b);
    double sum = 0;
    int cells = 0;
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            const QRgb p = ta.pixel(x, y), q = tb.pixel(x, y);
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

// A picture drawn smaller and off-centre scores up to 0.13, the closest distinct ones 0.22.
constexpr double alikeBelow = 0.18;

} // namespace

class TestPictureLibrary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lookup_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("emoji");
        QTest::newRow("hyphenated") << "ferris-wheel" << QString::fromUcs4(U"\U0001F3A1");
        QTest::newRow("basic plane") << "anchor" << QString::fromUcs4(U"\u2693");
        QTest::newRow("capitalised") << "Cat" << QString();
        QTest::newRow("unknown") << "no-such-picture" << QString();
    }
    void lookup()
    {
        QFETCH(QString, name);
        QFETCH(QString, emoji);
        QCOMPARE(PictureLibrary::contains(name), !emoji.isEmpty());
        QCOMPARE(PictureLibrary::emoji(name), emoji);
        QCOMPARE(PictureLibrary::render(name, 32).isNull(), emoji.isEmpty());
        QVERIFY(PictureLibrary::render(QStringLiteral("cat"), 0).isNull());
    }

    // Names are stored in vaults, so their order is fixed and each is distinct and plain. A glyph
    // the colour font lacks draws nothing, a stand-in from another font one flat colour; missing
    // glyphs, or a picture listed twice, draw alike.
    void everyPictureIsNamedAndRendersInColourUnlikeTheOthers()
    {
        const QStringList &names = PictureLibrary::names();
        QVERIFY(names.size() >= 150);
        QCOMPARE(names.first(), QStringLiteral("cat"));
        QCOMPARE(QSet<QString>(names.begin(), names.end()).size(), names.size());
        const QRegularExpression format(QStringLiteral("^[a-z]+(-[a-z]+)?$"));
        QList<QImage> pictures;
        for (const QString &name : names) {
            QVERIFY2(format.match(name).hasMatch() && PictureLibrary::contains(name),
                     qPrintable(name));
            pictures.append(PictureLibrary::render(name, 64));
            const auto [colours, covered] = coloursAndCover(pictures.last());
            QVERIFY2(covered > 64 * 64 / 8 && colours >= 4, qPrintable(name));
        }
        QStringList alike;
        for (qsizetype i = 0; i < names.size(); ++i) {
            for (qsizetype j = i + 1; j < names.size(); ++j) {
                if (distance(pictures[i], pictures[j]) < alikeBelow)
                    alike << names[i] + "~" + names[j];
            }
        }
        QVERIFY2(alike.isEmpty(), qPrintable(alike.join(u' ')));
    }

    void gridRules_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<bool>("valid");
        const QStringList &all = PictureLibrary::names();
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
        QCOMPARE(grid.pictureNames(), names);
        for (int index : {-1, 0, 14, 15}) {
            const bool inRange = index >= 0 && index < 15;
            QCOMPARE(grid.pictureName(index), inRange ? names[index] : QString());
            QCOMPARE(grid.pictureForIndex(index, 48).has_value(), inRange);
        }
        QCOMPARE(*grid.pictureForIndex(14, 48), PictureLibrary::render(names[14], 48));
        QStringList swapped = names;
        swapped.swapItemsAt(0, 1);
        QVERIFY(!(grid == ImageGrid(swapped))); // places matter, not just the set
    }
};

QTEST_MAIN(TestPictureLibrary)
#include "tst_picturelibrary.moc"
