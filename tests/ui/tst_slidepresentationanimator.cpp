#include "ui/SlidePresentationAnimator.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
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

    // Presented with `duration` (the click lands while it slides in, or once it is in place), the
    // screen takes the clicks meant for the one underneath; dismissed, it goes and the clicks
    // work again.
    void clicksUnderneath_data()
    {
        QTest::addColumn<double>("duration");
        QTest::newRow("while sliding in") << 60.0;
        QTest::newRow("in place") << 0.0;
    }
    void clicksUnderneath()
    {
        QFETCH(double, duration);
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(&screen.window));
        QPointer<QWidget> presented = new QWidget;
        auto *animator = new Animator(Animator::SlideLeft, duration, 0.0);
        QSignalSpy finished(animator, &Animator::presentationFinished);
        Animator::present(presented, &screen.window, animator);
        QCOMPARE(finished.size(), duration == 0 ? 1 : 0);
        QCOMPARE(presented->parentWidget(), &screen.window);
        screen.clickButton();
        QCOMPARE(screen.clicks, 0);

        animator->duration = 0.0;
        Animator::dismiss(presented);
        QVERIFY(!presented->isVisible());
        QTRY_VERIFY(!presented);
        screen.clickButton();
        QCOMPARE(screen.clicks, 1);
    }

    // Slides in to cover the window, and out the way it came with the dismissal's own duration.
    void slidesInAndOut()
    {
        Screen screen;
        auto *presented = new QWidget;
        auto *animator = new Animator(Animator::SlideDown, 0.05, 0.0);
        QSignalSpy dismissed(animator, &Animator::dismissalFinished);
        Animator::present(presented, &screen.window, animator);
        QCOMPARE(presented->geometry(), QRect(0, -400, 300, 400));
        QVERIFY(presented->autoFillBackground());
        QTRY_COMPARE(presented->geometry(), screen.window.rect());
        QCOMPARE(animator->duration, 0.0);
        screen.window.resize(320, 420);
        QCOMPARE(presented->geometry(), screen.window.rect());
        Animator::dismiss(presented);
        QCOMPARE(dismissed.size(), 1);
        QCOMPARE(presented->geometry(), QRect(0, -420, 320, 420));
    }

    // With shouldSetFirstResponder the presented screen's first field takes the focus and gives
    // it back when dismissed; without it the focus stays where it was.
    void focus_data()
    {
        QTest::addColumn<bool>("moveFocus");
        QTest::newRow("moves focus") << true;
        QTest::newRow("leaves focus") << false;
    }
    void focus()
    {
        QFETCH(bool, moveFocus);
        Screen screen;
        QVERIFY(QTest::qWaitForWindowActive(&screen.window));
        screen.field->setFocus();
        auto *presented = new QWidget;
        auto *presentedField = new QLineEdit(presented);
        Animator::present(presented, &screen.window,
                          new Animator(Animator::SlideLeft, 0.0, std::nullopt, moveFocus));
        QCOMPARE(QApplication::focusWidget(), moveFocus ? presentedField : screen.field);
        Animator::dismiss(presented);
        QCOMPARE(QApplication::focusWidget(), screen.field);
    }
};

QTEST_MAIN(TestSlidePresentationAnimator)
#include "tst_slidepresentationanimator.moc"
