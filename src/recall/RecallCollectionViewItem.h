#pragma once

#include <QAbstractButton>
#include <QPixmap>

namespace pexi {

// One picture of a recall grid with the letter that picks it from the keyboard. A button, so
// that a click, a screen reader's press and its "checked" state come for free; whether it is
// picked is the grid's to say (showSelected / showUnselected), never the click's.
class RecallCollectionViewItem : public QAbstractButton
{
    Q_OBJECT
public:
    explicit RecallCollectionViewItem(QWidget *parent = nullptr);

    // An empty name shows no picture.
    void setPictureName(const QString &name);
    QString pictureName() const { return m_pictureName; }
    void setLetter(const QString &letter);
    QString letter() const { return m_letter; }

    void showSelected();
    void showUnselected();
    qreal borderAlpha() const { return m_borderAlpha; }
    int borderWidth() const { return m_borderWidth; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void nextCheckState() override {}

private:
    void describe();
    // The item unpicked (its box, picture and letter) at its size in device pixels, so that it
    // stays crisp: drawn once, and again only when its size, picture, letter or colours change.
    // A window shows fifteen at once, and drawing each anew took most of showing the unlock.
    const QPixmap &face();

    QString m_pictureName;
    QString m_letter;
    QPixmap m_face;
    // The colours `m_face` was drawn in.
    QRgb m_faceSurface = 0;
    QRgb m_faceText = 0;
    qreal m_borderAlpha = 0;
    int m_borderWidth = 1;
};

} // namespace pexi
