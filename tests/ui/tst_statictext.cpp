#include "ui/StaticTextLabel.h"
#include "ui/StaticTextToolButton.h"

#include <QApplication>
#include <QTest>

#include <memory>

namespace {

// A label or a flat button with `text`, at a fixed size.
std::unique_ptr<QWidget> made(const QString &kind, const QString &text)
{
    std::unique_ptr<QWidget> widget;
    if (kind == u"label") {
        auto *label = new pexi::StaticTextLabel;
        label->setText(text);
        widget.reset(label);
    } else {
        auto *button = new pexi::StaticTextToolButton;
        button->setAutoRaise(true);
        button->setText(text);
        widget.reset(button);
    }
    widget->resize(120, 32);
    return widget;
}

void change(QWidget *widget, const QString &what)
{
    if (what == u"text")
        widget->setProperty("text", QStringLiteral("of 3"));
    else if (what == u"font")
        widget->setFont(QFont(widget->font().family(), 22));
    else
        widget->setEnabled(false);
}

// The rectangle of the pixels that differ from the top-left one.
QRect ink(const QImage &image)
{
    QRect drawn;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != image.pixel(0, 0))
                drawn |= QRect(x, y, 1, 1);
    return drawn;
}

} // namespace

class TestStaticText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What was laid out for one paint is never drawn after the text, font or state changed.
    void drawnAnewOnChange_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("what");
        for (const char *kind : {"label", "button"})
            for (const char *what : {"text", "font", "disabled"})
                QTest::addRow("%s, %s", kind, what) << kind << what;
    }
    void drawnAnewOnChange()
    {
        QFETCH(QString, kind);
        QFETCH(QString, what);
        const std::unique_ptr<QWidget> shown = made(kind, QStringLiteral("Pick"));
        const QImage before = shown->grab().toImage();
        change(shown.get(), what);
        const std::unique_ptr<QWidget> fresh = made(kind, QStringLiteral("Pick"));
        change(fresh.get(), what);
        const QImage after = shown->grab().toImage();
        QVERIFY(after != before);
        QCOMPARE(after, fresh->grab().toImage());
    }

    // The text sits where QLabel puts it.
    void placedAsQLabel_data()
    {
        QTest::addColumn<int>("alignment");
        QTest::newRow("left") << int(Qt::AlignLeft | Qt::AlignVCenter);
        QTest::newRow("right") << int(Qt::AlignRight | Qt::AlignVCenter);
        QTest::newRow("centre, top") << int(Qt::AlignHCenter | Qt::AlignTop);
        QTest::newRow("bottom") << int(Qt::AlignLeft | Qt::AlignBottom);
    }
    void placedAsQLabel()
    {
        QFETCH(int, alignment);
        pexi::StaticTextLabel mine;
        QLabel theirs;
        for (QLabel *label : {static_cast<QLabel *>(&mine), &theirs}) {
            label->setText(QStringLiteral("Pick your pictures"));
            label->setAlignment(Qt::Alignment(alignment));
            label->resize(240, 48);
        }
        const QRect expected = ink(theirs.grab().toImage());
        const QRect drawn = ink(mine.grab().toImage());
        QVERIFY(!expected.isEmpty());
        for (int edge : {drawn.left() - expected.left(), drawn.top() - expected.top(),
                         drawn.right() - expected.right(), drawn.bottom() - expected.bottom()})
            QVERIFY2(std::abs(edge) <= 1, qPrintable(QStringLiteral("off by %1").arg(edge)));
    }
};

QTEST_MAIN(TestStaticText)
#include "tst_statictext.moc"
