#include "recall/RecallCollectionViewItem.h"
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
        widget = std::make_unique<RecallCollectionViewItem>();
    widget->resize(110, 72);
    if (auto *item = qobject_cast<RecallCollectionViewItem *>(widget.get())) {
        item->setPictureName(QStringLiteral("cat"));
        item->setLetter(QStringLiteral("A"));
        return widget;
    }
    widget->setProperty("text", QStringLiteral("Pick"));
    widget->setProperty("autoRaise", true);
    return widget;
}

void change(QWidget &widget, const QString &what)
{
    auto *item = qobject_cast<RecallCollectionViewItem *>(&widget);
    if (what == u"text")
        widget.setProperty("text", QStringLiteral("of 3"));
    else if (what == u"font")
        widget.setFont(QFont(widget.font().family(), 22));
    else if (what == u"disabled")
        widget.setEnabled(false);
    else if (what == u"picture")
        item->setPictureName(QStringLiteral("dog"));
    else if (what == u"letter")
        item->setLetter(QStringLiteral("O"));
    else if (what == u"dark mode")
        Appearance::instance().setDark(true);
    else if (what == u"size")
        widget.resize(100, 90);
    else
        item->showSelected();
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
        for (const char *what : {"picture", "letter", "dark mode", "size", "picked"})
            QTest::addRow("picture, %s", what) << "picture" << what;
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
    void cleanup() { Appearance::instance().setDark(false); }
};

QTEST_MAIN(TestDrawnOnce)
#include "tst_drawnonce.moc"
