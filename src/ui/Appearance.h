#pragma once

#include <QColor>
#include <QFont>
#include <QObject>
#include <QPalette>

namespace pexi {

// The look every screen shares, light or dark: the colours, the fonts (embedded, so that every
// machine draws the same), the application palette and the style sheet of the styled controls.
// Screens take their colours from the palette roles and color(), so they follow dark mode with
// no code of their own. Styled controls are picked by a property on standard widgets:
// QPushButton "buttonStyle" = "primary" (filled), "secondary" (outlined) or "flat" (text only);
// every QLineEdit gets the rounded field look.
class Appearance : public QObject
{
    Q_OBJECT
public:
    enum class Color {
        Background,
        Surface,
        Text,
        SecondaryText,
        Accent,
        Border,
        Selection,
        Danger,
        AccentFill, // behind white text: a darker accent, so the text stays readable
    };

    static Appearance &instance();

    bool isDark() const { return m_dark; }
    // The colour-scheme monitor calls it; screenshots force it.
    void setDark(bool dark);
    QColor color(Color role) const { return color(role, m_dark); }
    static QColor color(Color role, bool dark);

    static QFont regularFont(qreal pixelSize = 13);
    static QFont mediumFont(qreal pixelSize = 13);
    // Passwords: every character told apart.
    static QFont monospaceFont(qreal pixelSize = 13);

    QPalette palette() const;
    QString styleSheet() const;

    // Loads the embedded fonts, sets the application palette and the style sheet of the styled
    // controls, and re-applies both when isDark changes. Call once after QApplication exists.
    void apply();

signals:
    void changed();

private:
    Appearance() = default;
    void applyColors();

    bool m_dark = false;
    bool m_applied = false;
};

} // namespace pexi
