#pragma once

#include <QObject>

class QSocketNotifier;

namespace pexi {

// Turns SIGTERM and SIGINT into a Qt signal on the main thread, so the worker shuts down
// through its normal path (the server stops, the vault locks) when the session ends.
class TerminationSignals : public QObject
{
    Q_OBJECT
public:
    explicit TerminationSignals(QObject *parent = nullptr);
    ~TerminationSignals() override;

Q_SIGNALS:
    void terminationRequested();

private:
    QSocketNotifier *m_notifier = nullptr;
};

} // namespace pexi
