#pragma once

// The real pexi-worker in a process of its own for the benchmarks: its own data, settings and
// port, started with execve so that the time from exec is the worker's alone; stopped by its
// process id. And what starting one needs: a free loopback port, a vault made by pexi-vault.
#include "bench/BenchVault.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <chrono>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

inline quint16 freePort()
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address);
    ::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length);
    ::close(fd);
    return ntohs(address.sin_port);
}

// The environment of a worker that keeps to `root`: its data, settings and runtime directory
// there, no keyring, and analytics sent to a port where nothing listens, so they fail at once
// and never leave the machine.
inline QProcessEnvironment isolatedWorkerEnvironment(const QString &root)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PEXI_DATA_DIR"), root + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), root + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), root);
    environment.insert(QStringLiteral("PEXI_NO_KEYRING"), QStringLiteral("1"));
    environment.insert(QStringLiteral("PEXI_ANALYTICS_BASE"),
                       QStringLiteral("http://127.0.0.1:%1/").arg(freePort()));
    return environment;
}

inline bool accepts(quint16 port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    const bool connected =
        ::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    ::close(fd);
    return connected;
}

// A vault whose pictures are the first nine of the library, in the worker's data directory.
inline void makeWorkerVault(const QString &tool, const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(tool, {QStringLiteral("pictures")});
    process.waitForFinished(60000);
    const QStringList names =
        QString::fromUtf8(process.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
    process.start(
        tool, {QStringLiteral("init"), QStringLiteral("--pictures"), names.mid(0, 9).join(u',')});
    process.waitForFinished(60000);
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        qFatal("pexi-vault init failed: %s", process.readAllStandardError().constData());
}

class WorkerProcess
{
public:
    using Clock = std::chrono::steady_clock;

    // `cpu` >= 0 pins the worker, every thread of it, to that core.
    WorkerProcess(const QString &binary, QProcessEnvironment environment, quint16 port,
                  int cpu = -1)
        : m_port(port)
    {
        environment.insert(QStringLiteral("PEXI_EXTENSION_PORT"), QString::number(port));
        std::vector<QByteArray> variables;
        for (const QString &variable : environment.toStringList())
            variables.push_back(variable.toLocal8Bit());
        std::vector<char *> envp;
        for (QByteArray &variable : variables)
            envp.push_back(variable.data());
        envp.push_back(nullptr);
        QByteArray path = binary.toLocal8Bit();
        char *argv[] = {path.data(), nullptr};

        m_started = Clock::now();
        m_pid = ::fork();
        if (m_pid == 0) {
            if (cpu >= 0) {
                cpu_set_t set;
                CPU_ZERO(&set);
                CPU_SET(cpu, &set);
                sched_setaffinity(0, sizeof set, &set);
            }
            const int null = ::open("/dev/null", O_RDWR);
            ::dup2(null, STDIN_FILENO);
            ::dup2(null, STDOUT_FILENO);
            ::dup2(null, STDERR_FILENO);
            ::execve(argv[0], argv, envp.data());
            ::_exit(127);
        }
        if (m_pid < 0)
            qFatal("fork failed");
    }
    ~WorkerProcess() { stop(); }

    double msSinceExec(Clock::time_point at = Clock::now()) const
    {
        return std::chrono::duration<double, std::milli>(at - m_started).count();
    }

    // Ends the bench when the worker has gone, which would otherwise be waited for in vain.
    void failIfExited()
    {
        if (m_pid > 0 && ::waitpid(m_pid, nullptr, WNOHANG) == m_pid) {
            m_pid = -1;
            qFatal("pexi-worker exited before it was ready");
        }
    }

    // Milliseconds from the exec to the first accepted connection.
    double waitListening()
    {
        while (msSinceExec() < 20000) {
            if (accepts(m_port))
                return msSinceExec();
            failIfExited();
            std::this_thread::sleep_for(std::chrono::microseconds(250));
        }
        qFatal("pexi-worker did not listen within 20 s");
    }

    double residentMiB() const { return ::residentMiB(QString::number(m_pid)); }

    void stop()
    {
        if (m_pid <= 0)
            return;
        ::kill(m_pid, SIGTERM);
        for (int i = 0; i < 500; ++i) {
            if (::waitpid(m_pid, nullptr, WNOHANG) == m_pid) {
                m_pid = -1;
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }

    quint16 port() const { return m_port; }
    pid_t pid() const { return m_pid; }

private:
    quint16 m_port;
    pid_t m_pid = -1;
    Clock::time_point m_started;
};
