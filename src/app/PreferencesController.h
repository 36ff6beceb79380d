#pragma once

#include <QObject>

class QComboBox;

namespace pexi {

class Preferences;

// Binds the preferences window's two pop-ups to the settings, entry 0 meaning yes
// (Transformers::TrueZeroFalseOne): they show what the settings read, and what the user picks is
// written at once.
class PreferencesController : public QObject
{
    Q_OBJECT
public:
    explicit PreferencesController(Preferences &content, QObject *parent = nullptr);

    Preferences &content() const { return m_content; }

    void bind(QComboBox *autoSave, QComboBox *showNotifications);

private:
    Preferences &m_content;
};

} // namespace pexi
