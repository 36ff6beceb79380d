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

// The rectangle of the pixels unlike the top-left one.
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

    // The text sits where QLabel puts it, to the pixel.
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
        QRect drawn[2];
        for (QLabel *label : {static_cast<QLabel *>(&mine), &theirs}) {
            label->setText(QStringLiteral("Pick your pictures"));
            label->setAlignment(Qt::Alignment(alignment));
            label->resize(240, 48);
            drawn[label == &theirs] = ink(label->grab().toImage());
        }
        // Each within a pixel of the other.
        QVERIFY(!drawn[1].isEmpty());
        QVERIFY(drawn[0].adjusted(-1, -1, 1, 1).contains(drawn[1]));
        QVERIFY(drawn[1].adjusted(-1, -1, 1, 1).contains(drawn[0]));
    }
};

QTEST_MAIN(TestStaticText)
#include "tst_statictext.moc"
