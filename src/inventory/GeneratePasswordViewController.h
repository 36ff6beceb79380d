#pragma once

#include <QWidget>

#include <functional>
#include <memory>

namespace Ui {
class GeneratePasswordViewController;
}

namespace pexi {

// Proposes a random password; the user picks its length with a slider, and every new length
// draws a new password at once. The opener puts a saved password where it belongs and
// dismisses this screen.
class GeneratePasswordViewController : public QWidget
{
    Q_OBJECT
public:
    // The slider moves in tenths of a character, so that it glides under the pointer; only a
    // new whole length draws a new password.
    static constexpr int sliderStepsPerCharacter = 10;

    explicit GeneratePasswordViewController(QWidget *parent = nullptr);
    ~GeneratePasswordViewController() override;

    std::function<void()> didClose;
    std::function<void(const QString &password)> didSave;

    // The length of the password shown.
    int currentLength() const { return m_currentLength; }
    QString password() const;

private:
    void strengthChanged();
    void saveButtonClicked();
    void backButtonClicked();

    std::unique_ptr<Ui::GeneratePasswordViewController> ui;
    int m_currentLength = 0;
};

} // namespace pexi
