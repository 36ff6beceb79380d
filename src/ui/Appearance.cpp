#include "ui/Appearance.h"

#include <QApplication>
#include <QFontDatabase>
#include <QStyleFactory>

namespace pexi {

namespace {

struct Shades
{
    QColor light;
    QColor dark;
};

// Text against its background stays at 4.5:1 or more in both modes, the accent included.
Shades shades(Appearance::Color role)
{
    using Color = Appearance::Color;
    switch (role) {
    case Color::Background:
        return {QColor(0xF5, 0xF5, 0xF7), QColor(0x1C, 0x1C, 0x1E)};
    case Color::Surface:
        return {QColor(0xFF, 0xFF, 0xFF), QColor(0x2C, 0x2C, 0x2E)};
    case Color::Text:
        return {QColor(0x1D, 0x1D, 0x1F), QColor(0xF5, 0xF5, 0xF7)};
    case Color::SecondaryText:
        return {QColor(0x6E, 0x6E, 0x73), QColor(0xA1, 0xA1, 0xA6)};
    case Color::Accent:
        return {QColor(0x00, 0x66, 0xD6), QColor(0x40, 0x9C, 0xFF)};
    case Color::Border:
        return {QColor(0xC7, 0xC7, 0xCC), QColor(0x48, 0x48, 0x4A)};
    case Color::Selection:
        return {QColor(0xCC, 0xE0, 0xFF), QColor(0x1F, 0x4A, 0x80)};
    case Color::Danger:
        return {QColor(0xD7, 0x00, 0x15), QColor(0xFF, 0x69, 0x61)};
    case Color::AccentFill:
        return {QColor(0x00, 0x66, 0xD6), QColor(0x0A, 0x6C, 0xD9)};
    }
    return {};
}

// Embedded, so that the screens look the same whatever the machine has installed.
void loadFonts()
{
    static const bool loaded = [] {
        for (const char *file :
             {":/fonts/Inter-Regular.otf", ":/fonts/Inter-Medium.otf", ":/fonts/Inconsolata.otf"})
            QFontDatabase::addApplicationFont(QString::fromLatin1(file));
        return true;
    }();
    Q_UNUSED(loaded);
}

QFont font(const QString &family, QFont::Weight weight, qreal pixelSize)
{
    loadFonts();
    QFont font(family);
    font.setWeight(weight);
    font.setPixelSize(qRound(pixelSize));
    return font;
}

} // namespace

Appearance &Appearance::instance()
{
    static Appearance appearance;
    return appearance;
}

void Appearance::setDark(bool dark)
{
    if (dark == m_dark)
        return;
    m_dark = dark;
    if (m_applied)
        applyColors();
    emit changed();
}

QColor Appearance::color(Color role, bool dark)
{
    const Shades both = shades(role);
    return dark ? both.dark : both.light;
}

QFont Appearance::regularFont(qreal pixelSize)
{
    return font(QStringLiteral("Inter"), QFont::Normal, pixelSize);
}

QFont Appearance::mediumFont(qreal pixelSize)
{
    return font(QStringLiteral("Inter"), QFont::Medium, pixelSize);
}

QFont Appearance::monospaceFont(qreal pixelSize)
{
    QFont mono = font(QStringLiteral("Inconsolata"), QFont::Medium, pixelSize);
    mono.setStyleHint(QFont::Monospace);
    return mono;
}

QPalette Appearance::palette() const
{
    const QColor background = color(Color::Background);
    const QColor surface = color(Color::Surface);
    const QColor text = color(Color::Text);
    const QColor secondary = color(Color::SecondaryText);
    const QColor border = color(Color::Border);

    QPalette palette;
    palette.setColor(QPalette::Window, background);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, surface);
    palette.setColor(QPalette::AlternateBase, m_dark ? surface.lighter(112) : background);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, surface);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::PlaceholderText, secondary);
    palette.setColor(QPalette::Highlight, color(Color::AccentFill));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, color(Color::Accent));
    palette.setColor(QPalette::LinkVisited, color(Color::Accent));
    palette.setColor(QPalette::ToolTipBase, surface);
    palette.setColor(QPalette::ToolTipText, text);
    // Fusion draws frames and bevels from these.
    palette.setColor(QPalette::Light, m_dark ? border.lighter(130) : surface);
    palette.setColor(QPalette::Midlight, border);
    palette.setColor(QPalette::Mid, border);
    palette.setColor(QPalette::Dark, border.darker(130));
    palette.setColor(QPalette::Shadow, Qt::black);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, secondary);
    return palette;
}

QString Appearance::styleSheet() const
{
    const auto hex = [this](Color role) { return color(role).name(); };
    const QString accentFill = hex(Color::AccentFill);
    return QStringLiteral(
               "QPushButton[buttonStyle=\"primary\"], QPushButton[buttonStyle=\"secondary\"],"
               " QPushButton[buttonStyle=\"flat\"] {"
               " font-family: \"Inter\"; font-size: 13px; font-weight: 500;"
               " border-radius: 6px; padding: 6px 14px; min-height: 16px; }"
               "QPushButton[buttonStyle=\"primary\"] {"
               " background-color: %1; color: #ffffff; border: 1px solid %1; }"
               "QPushButton[buttonStyle=\"primary\"]:hover { background-color: %2; }"
               "QPushButton[buttonStyle=\"primary\"]:pressed { background-color: %3; }"
               "QPushButton[buttonStyle=\"secondary\"] {"
               " background-color: transparent; color: %4; border: 1px solid %4; }"
               "QPushButton[buttonStyle=\"secondary\"]:pressed { background-color: %5; }"
               "QPushButton[buttonStyle=\"flat\"] {"
               " background-color: transparent; color: %4; border: 1px solid transparent;"
               " padding: 6px 8px; }"
               "QPushButton[buttonStyle=\"flat\"]:pressed { color: %3; }"
               "QPushButton[buttonStyle]:disabled {"
               " background-color: transparent; color: %6; border-color: %7; }"
               "QPushButton[buttonStyle=\"flat\"]:disabled { border-color: transparent; }"
               "QPushButton[buttonStyle]:focus { outline: none; }"
               "QLineEdit { background-color: %8; color: %9; border: 1px solid %7;"
               " border-radius: 6px; padding: 5px 8px;"
               " selection-background-color: %1; selection-color: #ffffff; }"
               "QLineEdit:focus { border: 1px solid %4; }"
               "QLineEdit:disabled { color: %6; background-color: %10; }"
               // A thin bar without arrows, as long lists on the desktop have.
               "QScrollBar:vertical { background: transparent; width: 10px; margin: 2px; }"
               "QScrollBar::handle:vertical { background: %7; border-radius: 3px;"
               " min-height: 24px; }"
               "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }"
               "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical {"
               " background: transparent; }")
        .arg(accentFill, QColor(accentFill).lighter(110).name(),
             QColor(accentFill).darker(115).name(), hex(Color::Accent), hex(Color::Selection),
             hex(Color::SecondaryText), hex(Color::Border), hex(Color::Surface), hex(Color::Text),
             hex(Color::Background));
}

void Appearance::apply()
{
    loadFonts();
    // Fusion draws with the palette it is given; a desktop's own style may not.
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setFont(regularFont());
    m_applied = true;
    applyColors();
}

void Appearance::applyColors()
{
    QApplication::setPalette(palette());
    qApp->setStyleSheet(styleSheet());
}

} // namespace pexi
