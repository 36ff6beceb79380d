#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

namespace pexi {

// Logs turned-away connections without letting a flood of them flood the log: at most
// `MaxLinesPerSecond` lines a second, then one line a second that counts the rest.
class RefusalLog : public QObject
{
    Q_OBJECT
public:
    static constexpr int MaxLinesPerSecond = 10;

    explicit RefusalLog(QObject *parent = nullptr);

    void log(const QString &line);

private:
    void endWindow();

    QTimer m_window; // runs from the first refusal of a second to its end
    int m_logged = 0;
    int m_suppressed = 0;
};

} // namespace pexi
