#include "core/PictureLibrary.h"

#include <QCache>
#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHash>
#include <QMutex>
#include <QPainter>
#include <QtDebug>

#include <algorithm>

namespace pexi {

namespace {

struct Picture
{
    const char *name;
    char32_t codePoint;
};

// Single code points with emoji presentation only: no sequences, no variation selectors, so
// every one renders in colour. Near twins are left out on purpose: one cat-like face, one tree,
// one yellow crescent, one clawed red creature, one red stringed instrument, and so on.
// Several pictures a line keep the table readable.
// clang-format off
constexpr Picture pictures[] = {
    // animals
    {"cat", U'\U0001F431'}, {"dog", U'\U0001F436'}, {"mouse", U'\U0001F42D'},
    {"rabbit", U'\U0001F430'}, {"fox", U'\U0001F98A'}, {"bear", U'\U0001F43B'},
    {"panda", U'\U0001F43C'}, {"lion", U'\U0001F981'}, {"cow", U'\U0001F42E'},
    {"pig", U'\U0001F437'}, {"frog", U'\U0001F438'}, {"monkey", U'\U0001F435'},
    {"chicken", U'\U0001F414'}, {"penguin", U'\U0001F427'}, {"owl", U'\U0001F989'},
    {"duck", U'\U0001F986'}, {"eagle", U'\U0001F985'}, {"horse", U'\U0001F434'},
    {"bee", U'\U0001F41D'}, {"butterfly", U'\U0001F98B'}, {"snail", U'\U0001F40C'},
    {"ladybug", U'\U0001F41E'}, {"turtle", U'\U0001F422'}, {"snake", U'\U0001F40D'},
    {"octopus", U'\U0001F419'}, {"crab", U'\U0001F980'}, {"fish", U'\U0001F41F'},
    {"whale", U'\U0001F433'}, {"shark", U'\U0001F988'}, {"elephant", U'\U0001F418'},
    {"giraffe", U'\U0001F992'}, {"zebra", U'\U0001F993'}, {"camel", U'\U0001F42B'},
    {"hedgehog", U'\U0001F994'}, {"bat", U'\U0001F987'}, {"dinosaur", U'\U0001F995'},
    {"flamingo", U'\U0001F9A9'}, {"peacock", U'\U0001F99A'}, {"kangaroo", U'\U0001F998'},
    {"sloth", U'\U0001F9A5'}, {"swan", U'\U0001F9A2'}, {"gorilla", U'\U0001F98D'},
    {"deer", U'\U0001F98C'}, {"ant", U'\U0001F41C'}, {"crocodile", U'\U0001F40A'},
    {"llama", U'\U0001F999'}, {"otter", U'\U0001F9A6'}, {"parrot", U'\U0001F99C'},
    // food
    {"apple", U'\U0001F34E'}, {"banana", U'\U0001F34C'}, {"grapes", U'\U0001F347'},
    {"watermelon", U'\U0001F349'}, {"lemon", U'\U0001F34B'}, {"cherries", U'\U0001F352'},
    {"strawberry", U'\U0001F353'}, {"pineapple", U'\U0001F34D'}, {"pear", U'\U0001F350'},
    {"kiwi", U'\U0001F95D'}, {"coconut", U'\U0001F965'}, {"avocado", U'\U0001F951'},
    {"eggplant", U'\U0001F346'}, {"carrot", U'\U0001F955'}, {"corn", U'\U0001F33D'},
    {"mushroom", U'\U0001F344'}, {"peanuts", U'\U0001F95C'}, {"bread", U'\U0001F35E'},
    {"croissant", U'\U0001F950'}, {"pretzel", U'\U0001F968'}, {"cheese", U'\U0001F9C0'},
    {"egg", U'\U0001F95A'}, {"pancakes", U'\U0001F95E'}, {"bacon", U'\U0001F953'},
    {"burger", U'\U0001F354'}, {"fries", U'\U0001F35F'}, {"pizza", U'\U0001F355'},
    {"hotdog", U'\U0001F32D'}, {"taco", U'\U0001F32E'}, {"popcorn", U'\U0001F37F'},
    {"sushi", U'\U0001F363'}, {"shrimp", U'\U0001F364'}, {"noodles", U'\U0001F35C'},
    {"icecream", U'\U0001F366'}, {"donut", U'\U0001F369'}, {"cookie", U'\U0001F36A'},
    {"cake", U'\U0001F382'}, {"lollipop", U'\U0001F36D'}, {"candy", U'\U0001F36C'},
    {"chocolate", U'\U0001F36B'}, {"honey", U'\U0001F36F'}, {"milk", U'\U0001F95B'},
    {"coffee", U'\U00002615'}, {"wine", U'\U0001F377'}, {"beer", U'\U0001F37A'},
    {"cocktail", U'\U0001F378'}, {"pie", U'\U0001F967'}, {"sandwich", U'\U0001F96A'},
    {"salad", U'\U0001F957'}, {"spaghetti", U'\U0001F35D'},
    // things
    {"anchor", U'\U00002693'}, {"bell", U'\U0001F514'}, {"key", U'\U0001F511'},
    {"padlock", U'\U0001F512'}, {"hammer", U'\U0001F528'}, {"wrench", U'\U0001F527'},
    {"paperclip", U'\U0001F4CE'}, {"books", U'\U0001F4DA'}, {"package", U'\U0001F4E6'},
    {"gift", U'\U0001F381'}, {"balloon", U'\U0001F388'}, {"kite", U'\U0001FA81'},
    {"umbrella", U'\U00002614'}, {"glasses", U'\U0001F453'}, {"crown", U'\U0001F451'},
    {"tophat", U'\U0001F3A9'}, {"cap", U'\U0001F9E2'}, {"sneaker", U'\U0001F45F'},
    {"boot", U'\U0001F462'}, {"sock", U'\U0001F9E6'}, {"glove", U'\U0001F9E4'},
    {"scarf", U'\U0001F9E3'}, {"tshirt", U'\U0001F455'}, {"dress", U'\U0001F457'},
    {"ring", U'\U0001F48D'}, {"gem", U'\U0001F48E'}, {"handbag", U'\U0001F45C'},
    {"backpack", U'\U0001F392'}, {"lipstick", U'\U0001F484'}, {"watch", U'\U0000231A'},
    {"phone", U'\U0001F4F1'}, {"laptop", U'\U0001F4BB'}, {"camera", U'\U0001F4F7'},
    {"television", U'\U0001F4FA'}, {"radio", U'\U0001F4FB'}, {"lightbulb", U'\U0001F4A1'},
    {"flashlight", U'\U0001F526'}, {"battery", U'\U0001F50B'}, {"magnet", U'\U0001F9F2'},
    {"telescope", U'\U0001F52D'}, {"microscope", U'\U0001F52C'}, {"compass", U'\U0001F9ED'},
    {"hourglass", U'\U0000231B'}, {"alarm-clock", U'\U000023F0'}, {"magnifier", U'\U0001F50D'},
    {"bomb", U'\U0001F4A3'}, {"pill", U'\U0001F48A'}, {"syringe", U'\U0001F489'},
    {"dna", U'\U0001F9EC'}, {"broom", U'\U0001F9F9'}, {"basket", U'\U0001F9FA'},
    {"soap", U'\U0001F9FC'}, {"toilet", U'\U0001F6BD'}, {"bathtub", U'\U0001F6C1'},
    {"door", U'\U0001F6AA'}, {"chair", U'\U0001FA91'}, {"trophy", U'\U0001F3C6'},
    {"medal", U'\U0001F3C5'}, {"soccer", U'\U000026BD'}, {"basketball", U'\U0001F3C0'},
    {"football", U'\U0001F3C8'}, {"tennis", U'\U0001F3BE'}, {"bowling", U'\U0001F3B3'},
    {"target", U'\U0001F3AF'}, {"dice", U'\U0001F3B2'}, {"puzzle", U'\U0001F9E9'},
    {"teddy", U'\U0001F9F8'}, {"guitar", U'\U0001F3B8'}, {"trumpet", U'\U0001F3BA'},
    {"drum", U'\U0001F941'}, {"piano", U'\U0001F3B9'}, {"microphone", U'\U0001F3A4'},
    {"headphones", U'\U0001F3A7'}, {"saxophone", U'\U0001F3B7'}, {"palette", U'\U0001F3A8'},
    {"clapper", U'\U0001F3AC'}, {"ticket", U'\U0001F3AB'}, {"skateboard", U'\U0001F6F9'},
    {"ski", U'\U0001F3BF'}, {"sled", U'\U0001F6F7'}, {"fishing", U'\U0001F3A3'},
    {"boxing", U'\U0001F94A'}, {"gamepad", U'\U0001F3AE'}, {"crystal-ball", U'\U0001F52E'},
    // vehicles
    {"car", U'\U0001F697'}, {"bus", U'\U0001F68C'}, {"ambulance", U'\U0001F691'},
    {"firetruck", U'\U0001F692'}, {"tractor", U'\U0001F69C'}, {"bicycle", U'\U0001F6B2'},
    {"scooter", U'\U0001F6F4'}, {"train", U'\U0001F682'}, {"helicopter", U'\U0001F681'},
    {"rocket", U'\U0001F680'}, {"ufo", U'\U0001F6F8'}, {"sailboat", U'\U000026F5'},
    {"ship", U'\U0001F6A2'}, {"canoe", U'\U0001F6F6'}, {"parachute", U'\U0001FA82'},
    // nature and places
    {"sun", U'\U0001F31E'}, {"star", U'\U00002B50'}, {"rainbow", U'\U0001F308'},
    {"lightning", U'\U000026A1'}, {"snowman", U'\U000026C4'}, {"fire", U'\U0001F525'},
    {"droplet", U'\U0001F4A7'}, {"wave", U'\U0001F30A'}, {"volcano", U'\U0001F30B'},
    {"globe", U'\U0001F30D'}, {"cactus", U'\U0001F335'}, {"palm", U'\U0001F334'},
    {"tree", U'\U0001F333'}, {"rose", U'\U0001F339'}, {"blossom", U'\U0001F338'},
    {"clover", U'\U0001F340'}, {"maple", U'\U0001F341'}, {"seedling", U'\U0001F331'},
    {"shell", U'\U0001F41A'}, {"house", U'\U0001F3E0'}, {"castle", U'\U0001F3F0'},
    {"tent", U'\U000026FA'}, {"statue", U'\U0001F5FD'}, {"ferris-wheel", U'\U0001F3A1'},
    {"fountain", U'\U000026F2'}, {"factory", U'\U0001F3ED'},
    // characters
    {"alien", U'\U0001F47D'}, {"robot", U'\U0001F916'}, {"skull", U'\U0001F480'},
    {"pumpkin", U'\U0001F383'},
};
// clang-format on

const QHash<QString, QString> &emojiByName()
{
    static const QHash<QString, QString> table = [] {
        QHash<QString, QString> byName;
        for (const Picture &picture : pictures)
            byName.insert(QString::fromLatin1(picture.name),
                          QString::fromUcs4(&picture.codePoint, 1));
        return byName;
    }();
    return table;
}

constexpr auto fontFamily = "Noto Color Emoji";
constexpr auto fontFile = "/usr/share/fonts/truetype/noto/NotoColorEmoji.ttf";
// The font is bitmap only: one strike of 136 px glyphs, which Qt draws unscaled at this pixel
// size. At any other size the engine resamples the bitmap, and our own scaling afterwards would
// resample it a second time.
constexpr int strikeSize = 136;

QString emojiFamily()
{
    // fontconfig normally knows the font; a desktop with an odd fontconfig setup may not.
    static const QString family = [] {
        const QString wanted = QString::fromLatin1(fontFamily);
        if (QFontDatabase::families().contains(wanted))
            return wanted;
        const QStringList loaded = QFontDatabase::applicationFontFamilies(
            QFontDatabase::addApplicationFont(QString::fromLatin1(fontFile)));
        if (loaded.isEmpty())
            qWarning("PictureLibrary: the colour emoji font is not installed");
        return loaded.value(0, wanted);
    }();
    return family;
}

// The glyph at its native size, cropped to its visible pixels so that wide and tall pictures
// fill the square alike. Null when the font lacks the glyph: without font merging a missing
// glyph draws nothing, where merging would draw a monochrome stand-in from another font.
QImage renderGlyph(const QString &text)
{
    QFont font(emojiFamily());
    font.setPixelSize(strikeSize);
    font.setStyleStrategy(QFont::NoFontMerging);
    QImage canvas(2 * strikeSize, 2 * strikeSize, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    {
        QPainter painter(&canvas);
        painter.setFont(font);
        painter.drawText(canvas.rect(), Qt::AlignCenter, text);
    }
    int left = canvas.width(), top = canvas.height(), right = -1, bottom = -1;
    for (int y = 0; y < canvas.height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(canvas.constScanLine(y));
        for (int x = 0; x < canvas.width(); ++x) {
            if (qAlpha(line[x]) != 0) {
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
    }
    if (right < 0)
        return {};
    return canvas.copy(QRect(QPoint(left, top), QPoint(right, bottom)));
}

QImage fitToSquare(const QImage &glyph, int size)
{
    // A margin of 1/16 keeps neighbours in a grid from touching.
    const int inner = std::max(1, size - 2 * (size / 16));
    const QImage scaled = glyph.scaled(inner, inner, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QImage square(size, size, QImage::Format_ARGB32_Premultiplied);
    square.fill(Qt::transparent);
    QPainter painter(&square);
    painter.drawImage((size - scaled.width()) / 2, (size - scaled.height()) / 2, scaled);
    return square;
}

struct RenderCache
{
    QMutex mutex;
    // Cost in KiB: a few sizes of every picture fit, an unbounded run of sizes does not.
    QCache<QPair<QString, int>, QImage> images{48 * 1024};
};

RenderCache &renderCache()
{
    static RenderCache cache;
    return cache;
}

} // namespace

const QStringList &PictureLibrary::names()
{
    static const QStringList list = [] {
        QStringList all;
        for (const Picture &picture : pictures)
            all.append(QString::fromLatin1(picture.name));
        return all;
    }();
    return list;
}

bool PictureLibrary::contains(const QString &name)
{
    return emojiByName().contains(name);
}

QString PictureLibrary::emoji(const QString &name)
{
    return emojiByName().value(name);
}

QImage PictureLibrary::render(const QString &name, int size)
{
    const QString text = emoji(name);
    if (text.isEmpty() || size <= 0)
        return {};
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        qWarning("PictureLibrary::render needs a QGuiApplication");
        return {};
    }
    RenderCache &cache = renderCache();
    // One lock over lookup and drawing: a picture takes about a millisecond, and drawing from
    // several threads at once gains nothing for a few dozen pictures.
    const QMutexLocker lock(&cache.mutex);
    const QPair<QString, int> key(name, size);
    if (const QImage *cached = cache.images.object(key))
        return *cached;
    const QImage glyph = renderGlyph(text);
    if (glyph.isNull()) {
        qWarning("PictureLibrary: the colour emoji font has no glyph for \"%s\"", qPrintable(name));
        return {};
    }
    const QImage picture = fitToSquare(glyph, size);
    cache.images.insert(key, new QImage(picture),
                        std::max<qsizetype>(1, picture.sizeInBytes() / 1024));
    return picture;
}

} // namespace pexi
