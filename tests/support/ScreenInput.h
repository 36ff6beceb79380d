#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QTest>

// A screen as a person meets it: controls found by the name a screen reader gives them, fields
// retyped by keys, and the messages (HUDs) shown over it.
template <class T> T *named(const QWidget *root, const QString &accessibleName)
{
    for (T *widget : root->findChildren<T *>()) {
        if (widget->accessibleName() == accessibleName && !widget->isHidden())
            return widget;
    }
    return nullptr;
}

inline void retype(const QWidget *screen, const QString &field, const QString &text)
{
    QLineEdit *edit = named<QLineEdit>(screen, field);
    QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
}

inline QStringList huds(const QWidget *screen)
{
    QStringList texts;
    for (const QLabel *hud : screen->findChildren<QLabel *>(QStringLiteral("hud")))
        texts << hud->text();
    return texts;
}
