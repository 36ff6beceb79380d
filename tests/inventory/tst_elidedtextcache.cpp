#include "inventory/ElidedTextCache.h"
#include "ui/Appearance.h"

#include <QPainter>
#include <QTest>

#include <functional>

using namespace pexi;

class TestElidedTextCache : public QObject
{
    Q_OBJECT

private slots:
    // A line looks exactly as QPainter::drawText draws it, cut where QFontMetrics::elidedText
    // cuts it, whether laid out anew after a line laid out for another width, or drawn again.
    void drawsAsDrawTextWould_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("slack"); // the width given, less the text's advance
        QTest::addColumn<qreal>("ratio");
        QTest::newRow("just fits") << "Account 1234" << 0 << 1.0;
        QTest::newRow("a pixel short") << "Online banking" << -1 << 1.0;
        QTest::newRow("cut, twice the pixels") << "ada.lovelace@example.org" << -40 << 2.0;
        QTest::newRow("cut, fractional ratio") << "ada.lovelace@example.org" << -40 << 1.5;
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
        const auto painted = [&](qreal at, const std::function<void(QPainter &)> &draw) {
            QImage image(QSize(320, 24) * at, QImage::Format_RGB32);
            image.setDevicePixelRatio(at);
            image.fill(Qt::white);
            QPainter painter(&image);
            painter.setPen(Qt::darkGray);
            draw(painter);
            return image;
        };
        const auto expected = [&](qreal at) {
            return painted(at, [&](QPainter &painter) {
                painter.setFont(font);
                painter.drawText(QPoint(4, 17),
                                 slack >= 0 ? text
                                            : metrics.elidedText(text, Qt::ElideRight, width));
            });
        };
        ElidedTextCache cache(font, 1);
        const auto drawn = [&](int within, qreal at) {
            return painted(at, [&](QPainter &p) { cache.draw(&p, QPoint(4, 17), text, within); });
        };
        drawn(width / 2, ratio);
        QCOMPARE(drawn(width, ratio), expected(ratio));
        // Drawn again, and on a screen of another pixel ratio.
        QCOMPARE(drawn(width, ratio), expected(ratio));
        QCOMPARE(drawn(width, 3 - ratio), expected(3 - ratio));
    }
};

QTEST_MAIN(TestElidedTextCache)
#include "tst_elidedtextcache.moc"
