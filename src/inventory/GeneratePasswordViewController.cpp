#include "inventory/GeneratePasswordViewController.h"

#include "core/Constants.h"
#include "inventory/PasswordGenerator.h"
#include "ui/Appearance.h"
#include "ui/Icons.h"

#include "ui_GeneratePasswordViewController.h"

#include <QSignalBlocker>

namespace pexi {

using Constants::Security;

GeneratePasswordViewController::GeneratePasswordViewController(QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::GeneratePasswordViewController>())
{
    ui->setupUi(this);
    ui->backButton->setIcon(tintedIcon(QStringLiteral("iconBack")));
    ui->titleLabel->setFont(Appearance::mediumFont(15));
    ui->lengthLabel->setFont(Appearance::mediumFont(13));
    ui->strengthSlider->setRange(Security::MIN_GEN_PASSWORD_LENGTH * sliderStepsPerCharacter,
                                 Security::MAX_GEN_PASSWORD_LENGTH * sliderStepsPerCharacter);
    // The keys move a whole character at a time.
    ui->strengthSlider->setSingleStep(sliderStepsPerCharacter);
    ui->strengthSlider->setPageStep(4 * sliderStepsPerCharacter);
    ui->strengthSlider->setValue(Security::DEFAULT_GEN_PASSWORD_LENGTH * sliderStepsPerCharacter);
    strengthChanged();
    // Focus given to this screen lands on the slider, so the arrows change the length at once.
    setFocusProxy(ui->strengthSlider);

    connect(ui->strengthSlider, &QSlider::valueChanged, this,
            &GeneratePasswordViewController::strengthChanged);
    connect(ui->saveButton, &QPushButton::clicked, this,
            &GeneratePasswordViewController::saveButtonClicked);
    connect(ui->backButton, &QPushButton::clicked, this,
            &GeneratePasswordViewController::backButtonClicked);
}

GeneratePasswordViewController::~GeneratePasswordViewController() = default;

QString GeneratePasswordViewController::password() const
{
    return ui->passwordLabel->text();
}

void GeneratePasswordViewController::strengthChanged()
{
    const int length = ui->strengthSlider->value() / sliderStepsPerCharacter;
    if (length == m_currentLength)
        return;
    {
        // Snapping to the whole length is no new move of the slider.
        const QSignalBlocker blocker(ui->strengthSlider);
        ui->strengthSlider->setValue(length * sliderStepsPerCharacter);
    }
    ui->passwordLabel->setText(PasswordGenerator::randomString(length));
    ui->lengthLabel->setText(QString::number(length));
    m_currentLength = length;
}

void GeneratePasswordViewController::saveButtonClicked()
{
    if (didSave)
        didSave(password());
}

void GeneratePasswordViewController::backButtonClicked()
{
    if (didClose)
        didClose();
}

} // namespace pexi
