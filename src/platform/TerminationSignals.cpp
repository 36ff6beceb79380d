#include "platform/TerminationSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace pexi {

namespace {
int signalPipe[2] = {-1, -1};

void onSignal(int)
{
    // Only async-signal-safe calls here: the main loop does the rest.
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
}
} // namespace

TerminationSignals::TerminationSignals(QObject *parent) : QObject(parent)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) != 0)
        return;
    m_notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        [[maybe_unused]] const ssize_t read = ::read(signalPipe[0], &byte, 1);
        Q_EMIT terminationRequested();
    });
    struct sigaction action
    {
    };
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

TerminationSignals::~TerminationSignals()
{
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGINT, SIG_DFL);
}

} // namespace pexi
