#include "ui/SlidePresentationAnimator.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace pexi;
using Animator = SlidePresentationAnimator;
using Options = std::optional<Animator::TransitionOptions>;

Q_DECLARE_METATYPE(Options)

class TestSlidePresentationAnimator : public QObject
{
    Q_OBJECT

    // A window with a button and a field to present over, as the floating window is.
    struct Screen
    {
        QWidget window;
        QPushButton *button = new QPushButton("Copy", &window);
        QLineEdit *field = new QLineEdit(&window);
        int clicks = 0;

        Screen()
        {
            window.resize(300, 400);
            button->setGeometry(10, 10, 100, 30);
            field->setGeometry(10, 50, 200, 30);
            QObject::connect(button, &QPushButton::clicked, [this] { ++clicks; });
            window.show();
            QApplication::setActiveWindow(&window);
        }
        void clickButton()
        {
            QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {},
                              button->geometry().center());
        }
    };

private slots:
    void offscreenFrame_data()
    {
        QTest::addColumn<Options>("options");
        QTest::addColumn<QPoint>("offset");
        const auto row = [](const char *name, Options options, QPoint offset) {
            QTest::newRow(name) << options << offset;
        };
        row("none", std::nullopt, {0, 0});
        row("empty", Animator::TransitionOptions(), {0, 0});
        row("left enters from the right", Animator::SlideLeft, {300, 0});
        row("right enters from the left", Animator::SlideRight, {-300, 0});
        row("down enters from above", Animator::SlideDown, {0, -200});
        row("up enters from below", Animator::SlideUp, {0, 200});
        row("left wins over right", Animator::SlideLeft | Animator::SlideRight, {300, 0});
        row("down wins over up", Animator::SlideDown | Animator::SlideUp, {0, -200});
        row("diagonal", Animator::SlideRight | Animator::SlideUp, {-300, 200});
    }
    void offscreenFrame()
    {
        QFETCH(Options, options);
        QFETCH(QPoint, offset);
        const QRect frame(10, 20, 300, 200);
        QCOMPARE(Animator::offscreenFrame(frame, options), frame.translated(offset));
    }

    // A screen slides in from the right and takes the clicks meant for the screen underneath,
    // while it slides ("sliding") or once in place; it follows the window's size; with a dismiss
    // duration of 0 it goes at once, and the clicks work again. Asked to ("moveFocus"), it gives
    // its first field the focus once in place, and the focus goes back when it is dismissed.
    void presentation_data()
    {
        QTest::addColumn<double>("duration");
        QTest::addColumn<bool>("sliding");
        QTest::addColumn<bool>("moveFocus");
        QTest::newRow("while sliding in") << 60.0 << true << true;
        QTest::newRow("once in place") << 0.05 << false << false;
        QTest::newRow("once in place, focus moved") << 0.05 << false << true;
    }
    void presentation()
    {
        QFETCH(double, duration);
        QFETCH(bool, sliding);
        QFETCH(bool, moveFocus);
        Screen screen;
        QVERIFY(QTest::qWaitForWindowActive(&screen.window));
        screen.field->setFocus();
        QPointer<QWidget> presented = new QWidget;
        auto *presentedField = new QLineEdit(presented);
        presentedField->move(0, 100); // away from the button's clicks
        auto *animator = new Animator(Animator::SlideLeft, duration, 0.0, moveFocus);
        Animator::present(presented, &screen.window, animator);
        QCOMPARE(presented->geometry(), QRect(300, 0, 300, 400));
        if (!sliding) {
            // In place once the slide is over, not when its easing rounds to the last pixel.
            QTRY_VERIFY(!screen.window.findChild<QWidget *>("clickBlocker"));
            QCOMPARE(presented->geometry(), QRect(0, 0, 300, 400));
            QCOMPARE(QApplication::focusWidget(), moveFocus ? presentedField : screen.field);
            screen.window.resize(320, 420);
            QCOMPARE(presented->geometry(), QRect(0, 0, 320, 420));
        }
        screen.clickButton();
        QCOMPARE(screen.clicks, 0);

        if (sliding) // the dismiss duration takes over only once the screen is in place
            animator->duration = 0.0;
        Animator::dismiss(presented);
        QVERIFY(!presented->isVisible());
        QCOMPARE(QApplication::focusWidget(), screen.field);
        QTRY_VERIFY(!presented);
        screen.clickButton();
        QCOMPARE(screen.clicks, 1);
    }
};

QTEST_MAIN(TestSlidePresentationAnimator)
#include "tst_slidepresentationanimator.moc"
