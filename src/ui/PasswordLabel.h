#pragma once

#include <QWidget>

class QTextLayout;

namespace pexi {

// A password shown in clear, in the monospace font, centred, broken anywhere: a password has no
// words, and a plain label would run a long one off the screen rather than wrap it.
class PasswordLabel : public QWidget
{
    Q_OBJECT
public:
    explicit PasswordLabel(QWidget *parent = nullptr);

    QString text() const { return m_text; }
    void setText(const QString &text);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    // Lines of at most `width` pixels; returns the height they take.
    qreal layOut(QTextLayout &layout, qreal width) const;

    QString m_text;
};

} // namespace pexi
