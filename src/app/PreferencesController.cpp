#include "app/PreferencesController.h"

#include "app/Preferences.h"
#include "app/Transformers.h"

#include <QComboBox>

namespace pexi {

using Transformer = Transformers::TrueZeroFalseOne;

PreferencesController::PreferencesController(Preferences &content, QObject *parent)
    : QObject(parent), m_content(content)
{
}

void PreferencesController::bind(QComboBox *autoSave, QComboBox *showNotifications)
{
    autoSave->setCurrentIndex(Transformer::transformedValue(m_content.autoSavePasswords()).toInt());
    showNotifications->setCurrentIndex(
        Transformer::transformedValue(m_content.showSaveNotifications()).toInt());
    // `activated`, not `currentIndexChanged`: only the user's choice is a setting. Moving a
    // pop-up from code (autoSaveChanged) must leave the stored value alone.
    connect(autoSave, &QComboBox::activated, this, [this](int index) {
        m_content.setAutoSavePasswords(Transformer::reverseTransformedValue(index).toBool());
    });
    connect(showNotifications, &QComboBox::activated, this, [this](int index) {
        m_content.setShowSaveNotifications(Transformer::reverseTransformedValue(index).toBool());
    });
}

} // namespace pexi
