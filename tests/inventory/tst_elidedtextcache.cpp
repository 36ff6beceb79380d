#include "inventory/ElidedTextCache.h"
#include "ui/Appearance.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QTest>

#include <functional>

using namespace pexi;

namespace {

QImage painted(qreal ratio, const std::function<void(QPainter &)> &draw)
{
    QImage image(QSize(320, 24) * ratio, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setPen(Appearance::color(Appearance::Color::SecondaryText, false));
    draw(painter);
    return image;
}

} // namespace

class TestElidedTextCache : public QObject
{
    Q_OBJECT

private slots:
    // A line looks exactly as QPainter::drawText draws it, cut where QFontMetrics::elidedText
    // cuts it, whether it is laid out anew after a line laid out for another width, or drawn again.
    void drawsAsDrawTextWould_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("slack"); // the width given, less the text's advance
        QTest::addColumn<qreal>("ratio");
        QTest::newRow("fits") << "Online banking" << 30 << 1.0;
        QTest::newRow("just fits") << "Account 1234" << 0 << 1.0;
        QTest::newRow("a pixel short") << "Online banking" << -1 << 1.0;
        QTest::newRow("cut, twice the pixels") << "ada.lovelace@example.org" << -40 << 2.0;
        QTest::newRow("cut, fractional ratio") << "ada.lovelace@example.org" << -40 << 1.5;
        QTest::newRow("trailing spaces") << "Mail  " << -2 << 1.0;
        QTest::newRow("right to left") << "مرحبا Mail" << 0 << 2.0;
        QTest::newRow("line separator") << "Work\u2028chat" << 10 << 1.0;
    }
    void drawsAsDrawTextWould()
    {
        QFETCH(QString, text);
        QFETCH(int, slack);
        QFETCH(qreal, ratio);
        const QFont font = Appearance::mediumFont(13);
        const QFontMetrics metrics(font);
        const int width = metrics.horizontalAdvance(text) + slack;
        const QPoint baseline(4, 17);
        const QImage expected = painted(ratio, [&](QPainter &painter) {
            painter.setFont(font);
            painter.drawText(baseline,
                             slack >= 0 ? text : metrics.elidedText(text, Qt::ElideRight, width));
        });
        ElidedTextCache cache(font, 1);
        const auto drawn = [&](int at) {
            return painted(ratio,
                           [&](QPainter &painter) { cache.draw(&painter, baseline, text, at); });
        };
        drawn(width / 2);
        QCOMPARE(drawn(width), expected);
        QCOMPARE(drawn(width), expected);
    }
};

QTEST_MAIN(TestElidedTextCache)
#include "tst_elidedtextcache.moc"
