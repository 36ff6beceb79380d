#include "ui/Appearance.h"

#include <QApplication>
#include <QPushButton>
#include <QTest>

#include <cmath>

using namespace pexi;
using Color = Appearance::Color;

Q_DECLARE_METATYPE(Color)

namespace {

// WCAG relative luminance and contrast ratio.
double luminance(const QColor &color)
{
    const auto channel = [](double c) {
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(color.redF()) + 0.7152 * channel(color.greenF()) +
           0.0722 * channel(color.blueF());
}

double contrast(const QColor &a, const QColor &b)
{
    const auto [low, high] = std::minmax({luminance(a), luminance(b)});
    return (high + 0.05) / (low + 0.05);
}

} // namespace

class TestAppearance : public QObject
{
    Q_OBJECT

private slots:
    // Every text colour is readable on every background it is drawn on, in both modes.
    void textContrast_data()
    {
        QTest::addColumn<Color>("text");
        QTest::addColumn<Color>("background");
        const QList<Color> texts{Color::Text, Color::SecondaryText, Color::Accent, Color::Danger};
        for (const Color text : texts)
            for (const Color background : {Color::Background, Color::Surface})
                QTest::addRow("%d on %d", int(text), int(background)) << text << background;
        QTest::addRow("text on selection") << Color::Text << Color::Selection;
    }
    void textContrast()
    {
        QFETCH(Color, text);
        QFETCH(Color, background);
        for (const bool dark : {false, true}) {
            const QColor back = Appearance::color(background, dark);
            QVERIFY2(contrast(Appearance::color(text, dark), back) >= 4.5, dark ? "dark" : "light");
            // White on the filled buttons.
            QVERIFY(contrast(Qt::white, Appearance::color(Color::AccentFill, dark)) >= 4.5);
        }
    }

    // Switching modes repaints what is on show: the palette and the styled buttons follow.
    void followsDarkMode()
    {
        Appearance &appearance = Appearance::instance();
        appearance.apply();
        QPushButton button("Save");
        button.setProperty("buttonStyle", "primary");
        button.show();
        for (const bool dark : {true, false}) {
            appearance.setDark(dark);
            QCOMPARE(QApplication::palette().color(QPalette::Window),
                     Appearance::color(Color::Background, dark));
            const QImage picture = button.grab().toImage();
            QCOMPARE(picture.pixelColor(3, picture.height() / 2),
                     Appearance::color(Color::AccentFill, dark));
        }
    }
};

QTEST_MAIN(TestAppearance)
#include "tst_appearance.moc"
