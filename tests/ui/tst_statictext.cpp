#include "ui/StaticTextLabel.h"
#include "ui/StaticTextToolButton.h"

#include <QTest>

namespace {

QWidget *made(bool label)
{
    QWidget *widget =
        label ? static_cast<QWidget *>(new pexi::StaticTextLabel) : new pexi::StaticTextToolButton;
    if (!label)
        static_cast<QToolButton *>(widget)->setAutoRaise(true);
    widget->setProperty("text", QStringLiteral("Pick"));
    widget->resize(120, 32);
    return widget;
}

} // namespace

class TestStaticText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What was laid out for one paint is never drawn after the text, font or state changed.
    void drawnAnewOnChange_data()
    {
        QTest::addColumn<bool>("label");
        QTest::addColumn<QString>("what");
        for (const bool label : {true, false})
            for (const char *what : {"text", "font", "disabled"})
                QTest::addRow("%s, %s", label ? "label" : "button", what) << label << what;
    }
    void drawnAnewOnChange()
    {
        QFETCH(bool, label);
        QFETCH(QString, what);
        const auto change = [&what](QWidget *widget) {
            if (what == u"text")
                widget->setProperty("text", QStringLiteral("of 3"));
            else if (what == u"font")
                widget->setFont(QFont(widget->font().family(), 22));
            else
                widget->setEnabled(false);
        };
        const std::unique_ptr<QWidget> shown(made(label)), fresh(made(label));
        const QImage before = shown->grab().toImage();
        change(shown.get());
        change(fresh.get());
        const QImage after = shown->grab().toImage();
        QVERIFY(after != before);
        QCOMPARE(after, fresh->grab().toImage());
    }
};

QTEST_MAIN(TestStaticText)
#include "tst_statictext.moc"
