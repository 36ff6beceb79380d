#pragma once

#include <QWidget>

#include <functional>

class QLabel;

namespace pexi {

// One entry of the settings pop-up: a monochrome icon in the text colour and a title, highlighted
// while the pointer is over it or Tab brought the focus to it. A click, Return or Space runs its
// block.
class SettingsPopupMenuItem : public QWidget
{
    Q_OBJECT
public:
    // `iconName`: one of ui/Icons.h; it is drawn in the text colour.
    SettingsPopupMenuItem(const QString &iconName, const QString &title,
                          std::function<void()> block, QWidget *parent = nullptr);

    QString title() const;
    bool isHighlighted() const { return m_highlighted; }
    // The icon as drawn now.
    QPixmap icon() const;

    std::function<void()> block;

protected:
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void setHighlighted(bool highlighted);
    // Icon and title in the colour of the text over the current background.
    void applyColors();
    void run();

    QString m_iconName;
    QLabel *m_icon;
    QLabel *m_title;
    bool m_highlighted = false;
};

} // namespace pexi
