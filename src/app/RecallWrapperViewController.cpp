#include "app/RecallWrapperViewController.h"

#include <QVBoxLayout>

namespace pexi {

RecallWrapperViewController::RecallWrapperViewController(RecallServices services, QWidget *parent)
    : QWidget(parent), m_mainViewController(new RecallViewController(services))
{
    setAccessibleName(QStringLiteral("Unlock"));
    setBackgroundRole(QPalette::Window);
    setAutoFillBackground(true);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_mainViewController);
    resize(size);
}

} // namespace pexi
