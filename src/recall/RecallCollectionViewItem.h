#pragma once

#include <QString>

class QPainter;
class QRect;

namespace pexi {

// One picture of a recall grid with the letter that picks it from the keyboard, as its grid
// draws it in the cell the grid gives it. Whether it is picked is the grid's to say
// (showSelected / showUnselected).
class RecallCollectionViewItem
{
public:
    // An empty name shows no picture.
    void setPictureName(const QString &name) { m_pictureName = name; }
    const QString &pictureName() const { return m_pictureName; }
    void setLetter(const QString &letter) { m_letter = letter; }
    const QString &letter() const { return m_letter; }

    void showSelected();
    void showUnselected();
    bool isSelected() const { return m_selected; }
    qreal borderAlpha() const { return m_borderAlpha; }
    int borderWidth() const { return m_borderWidth; }

    // The item unpicked, filling `cell`: its box, picture and letter.
    void paint(QPainter &painter, const QRect &cell) const;
    // The pick's border around `cell`, when it is picked.
    void paintPick(QPainter &painter, const QRect &cell) const;

private:
    QString m_pictureName;
    QString m_letter;
    bool m_selected = false;
    qreal m_borderAlpha = 0;
    int m_borderWidth = 1;
};

} // namespace pexi
