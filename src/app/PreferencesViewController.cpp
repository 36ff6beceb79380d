#include "app/PreferencesViewController.h"

#include "app/PreferencesController.h"
#include "core/Log.h"
#include "extension/BrowserController.h"

#include "ui_PreferencesViewController.h"

namespace pexi {

namespace {

// What the browser tracker holds until an extension reports its build.
const QString noBuild = QStringLiteral("None");

} // namespace

PreferencesViewController::PreferencesViewController(Preferences &preferences,
                                                     BrowserController &browsers,
                                                     StartAtLogin &startAtLogin, QWidget *parent)
    : QWidget(parent), m_ui(std::make_unique<Ui::PreferencesViewController>()),
      m_controller(new PreferencesController(preferences, this)), m_startAtLogin(startAtLogin)
{
    m_ui->setupUi(this);
    m_controller->bind(m_ui->autoSave, m_ui->showNotifications);
    connect(m_ui->autoSave, &QComboBox::activated, this,
            &PreferencesViewController::autoSaveChanged);
    m_ui->startAtLogin->setChecked(m_startAtLogin.isEnabled());
    connect(m_ui->startAtLogin, &QCheckBox::toggled, this,
            &PreferencesViewController::startAtLoginChanged);

    const QString build = browsers.build(Browser::chrome);
    m_ui->chromeBuild->setText(build == noBuild ? tr("Not connected yet")
                                                : tr("Build %1").arg(build));
}

PreferencesViewController::~PreferencesViewController() = default;

QComboBox *PreferencesViewController::autoSave() const
{
    return m_ui->autoSave;
}

QComboBox *PreferencesViewController::showNotifications() const
{
    return m_ui->showNotifications;
}

QLabel *PreferencesViewController::chromeBuild() const
{
    return m_ui->chromeBuild;
}

QCheckBox *PreferencesViewController::startAtLogin() const
{
    return m_ui->startAtLogin;
}

void PreferencesViewController::startAtLoginChanged(bool start)
{
    if (m_startAtLogin.setEnabled(start))
        return;
    logLine(QStringLiteral("could not change whether Pexi starts at login"));
    const QSignalBlocker blocker(m_ui->startAtLogin);
    m_ui->startAtLogin->setChecked(!start);
}

void PreferencesViewController::autoSaveChanged()
{
    if (m_ui->autoSave->currentIndex() == askToSave)
        m_ui->showNotifications->setCurrentIndex(always);
}

} // namespace pexi
