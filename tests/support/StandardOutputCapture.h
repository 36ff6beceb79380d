#pragma once

#include <QByteArray>
#include <QStringList>
#include <QTest>

#include <cstdio>

#include <unistd.h>

// Points file descriptor 1 (where log lines go) at a temporary file while it lives. On the way
// out, a failed test's output, Qt Test's report included, is replayed on the real output.
class StandardOutputCapture
{
public:
    StandardOutputCapture()
    {
        std::fflush(stdout);
        m_file = std::tmpfile();
        m_saved = ::dup(STDOUT_FILENO);
        if (m_file && m_saved >= 0)
            ::dup2(::fileno(m_file), STDOUT_FILENO);
    }
    ~StandardOutputCapture()
    {
        std::fflush(stdout);
        if (m_saved >= 0) {
            ::dup2(m_saved, STDOUT_FILENO);
            ::close(m_saved);
        }
        if (QTest::currentTestFailed()) {
            const QByteArray text = contents();
            std::fwrite(text.constData(), 1, size_t(text.size()), stdout);
            std::fflush(stdout);
        }
        if (m_file)
            std::fclose(m_file);
    }
    StandardOutputCapture(const StandardOutputCapture &) = delete;
    StandardOutputCapture &operator=(const StandardOutputCapture &) = delete;

    // The lines written since the previous call.
    QStringList takeLines()
    {
        std::fflush(stdout);
        const QByteArray text = contents();
        const QByteArray fresh = text.mid(m_taken);
        m_taken = text.size();
        QStringList lines = QString::fromUtf8(fresh).split(u'\n');
        if (!lines.isEmpty() && lines.last().isEmpty())
            lines.removeLast();
        return lines;
    }

private:
    QByteArray contents() const
    {
        QByteArray text;
        char buffer[65536];
        for (off_t offset = 0; m_file;) {
            const ssize_t n = ::pread(::fileno(m_file), buffer, sizeof buffer, offset);
            if (n <= 0)
                break;
            text.append(buffer, n);
            offset += n;
        }
        return text;
    }

    std::FILE *m_file = nullptr;
    int m_saved = -1;
    qsizetype m_taken = 0;
};
