#pragma once

#include "app/Preferences.h"

#include <QSettings>
#include <QTemporaryDir>

#include <memory>

// A settings store of its own in a temporary directory, and Preferences over it with the
// defaults registered as at launch. Nothing touches the user's settings.
class TemporaryPreferences
{
public:
    std::unique_ptr<QSettings> store() const
    {
        return std::make_unique<QSettings>(m_dir.filePath("worker.conf"), QSettings::IniFormat);
    }
    std::unique_ptr<pexi::Preferences> preferences() const
    {
        auto preferences = std::make_unique<pexi::Preferences>(store());
        pexi::Preferences::registerDefaults(*preferences);
        return preferences;
    }
    void clear() const { store()->clear(); }

private:
    QTemporaryDir m_dir;
};
