#include "core/PictureLibrary.h"
#include "recall/RecallCollectionViewController.h"
#include "ui/Appearance.h"
#include "ui/StaticTextLabel.h"
#include "ui/StaticTextToolButton.h"

#include <QTest>

using namespace pexi;

namespace {

// The widgets that keep what they laid out or drew from one paint to the next.
std::unique_ptr<QWidget> made(const QString &kind)
{
    std::unique_ptr<QWidget> widget;
    if (kind == u"label")
        widget = std::make_unique<StaticTextLabel>();
    else if (kind == u"button")
        widget = std::make_unique<StaticTextToolButton>();
    else
        widget = std::make_unique<RecallCollectionViewController>();
    widget->resize(110, 72);
    if (auto *grid = qobject_cast<RecallCollectionViewController *>(widget.get())) {
        grid->resize(grid->sizeHint());
        grid->setImageGrid(ImageGrid(PictureLibrary::names().first(ImageGrid::PictureCount)));
        return widget;
    }
    widget->setProperty("text", QStringLiteral("Pick"));
    widget->setProperty("autoRaise", true);
    return widget;
}

void change(QWidget &widget, const QString &what)
{
    auto *grid = qobject_cast<RecallCollectionViewController *>(&widget);
    if (what == u"text")
        widget.setProperty("text", QStringLiteral("of 3"));
    else if (what == u"font")
        widget.setFont(QFont(widget.font().family(), 22));
    else if (what == u"disabled")
        widget.setEnabled(false);
    else if (what == u"picture")
        grid->setImageGrid(ImageGrid(PictureLibrary::names().last(ImageGrid::PictureCount)));
    else if (what == u"dark mode")
        Appearance::instance().setDark(true);
    else if (what == u"palette")
        widget.setPalette(QPalette(Qt::darkCyan));
    else if (what == u"size")
        widget.resize(widget.size() + QSize(30, 40));
    else
        grid->toggleSelectionAt(4);
}

} // namespace

class TestDrawnOnce : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What was kept for one paint is never drawn after what it shows changed: the widget draws
    // anew, the same as one made with the change.
    void drawnAnewOnChange_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("what");
        for (const char *kind : {"label", "button"})
            for (const char *what : {"text", "font", "disabled"})
                QTest::addRow("%s, %s", kind, what) << kind << what;
        for (const char *what : {"picture", "dark mode", "palette", "size", "picked"})
            QTest::addRow("grid, %s", what) << "grid" << what;
    }
    void drawnAnewOnChange()
    {
        QFETCH(QString, kind);
        QFETCH(QString, what);
        const std::unique_ptr<QWidget> shown = made(kind), fresh = made(kind);
        const QImage before = shown->grab().toImage();
        change(*shown, what);
        change(*fresh, what);
        const QImage after = shown->grab().toImage();
        QVERIFY(after != before);
        QCOMPARE(after, fresh->grab().toImage());
    }
    // Kept at one pixel ratio, it is drawn again at another: drawn at twice the pixels, it
    // shows what it shows at one, only sharper, and what one made for that ratio shows.
    void drawnAtEachRatio_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char *kind : {"label", "button", "grid"})
            QTest::newRow(kind) << kind;
    }
    void drawnAtEachRatio()
    {
        QFETCH(QString, kind);
        const std::unique_ptr<QWidget> widget = made(kind);
        const QImage single = drawnAt(*widget, 1);
        const QImage doubled = drawnAt(*widget, 2);
        QCOMPARE(doubled, drawnAt(*made(kind), 2));
        const QImage halved =
            doubled.scaled(single.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        qint64 difference = 0;
        for (int y = 0; y < single.height(); ++y)
            for (int x = 0; x < single.width(); ++x)
                difference += qAbs(qGray(single.pixel(x, y)) - qGray(halved.pixel(x, y)));
        // Edges differ by smoothing; a picture drawn at the wrong scale or place differs wholly.
        QVERIFY2(difference < 8LL * single.width() * single.height(),
                 qPrintable(QString::number(difference / (single.width() * single.height()))));
    }
    void cleanup() { Appearance::instance().setDark(false); }

private:
    static QImage drawnAt(QWidget &widget, qreal ratio)
    {
        QImage image(widget.size() * ratio, QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(ratio);
        image.fill(Qt::white);
        widget.render(&image, {}, {}, QWidget::DrawChildren);
        return image;
    }
};

QTEST_MAIN(TestDrawnOnce)
#include "tst_drawnonce.moc"
