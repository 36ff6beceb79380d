#include "app/PreferencesViewController.h"

#include "app/PreferencesController.h"
#include "extension/BrowserController.h"

#include "ui_PreferencesViewController.h"

namespace pexi {

namespace {

// What the browser tracker holds until an extension reports its build.
const QString noBuild = QStringLiteral("None");

} // namespace

PreferencesViewController::PreferencesViewController(Preferences &preferences,
                                                     BrowserController &browsers, QWidget *parent)
    : QWidget(parent), m_ui(std::make_unique<Ui::PreferencesViewController>()),
      m_controller(new PreferencesController(preferences, this))
{
    m_ui->setupUi(this);
    m_controller->bind(m_ui->autoSave, m_ui->showNotifications);
    connect(m_ui->autoSave, &QComboBox::activated, this,
            &PreferencesViewController::autoSaveChanged);

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

void PreferencesViewController::autoSaveChanged()
{
    if (m_ui->autoSave->currentIndex() == askToSave)
        m_ui->showNotifications->setCurrentIndex(always);
}

} // namespace pexi
