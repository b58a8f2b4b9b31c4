#pragma once

#include <QList>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

/// Lets the process open only a few files more for as long as the object lives.
class FewFiles
{
public:
    explicit FewFiles(int left)
    {
        ::getrlimit(RLIMIT_NOFILE, &m_former);
        rlimit few = m_former;
        few.rlim_cur = std::min<rlim_t>(m_former.rlim_cur, 256);
        ::setrlimit(RLIMIT_NOFILE, &few);
        for (int file = ::dup(0); file >= 0; file = ::dup(0)) {
            m_taken.append(file);
        }
        for (int i = 0; i < left; ++i) {
            ::close(m_taken.takeLast());
        }
    }

    ~FewFiles()
    {
        for (const int file : std::as_const(m_taken)) {
            ::close(file);
        }
        ::setrlimit(RLIMIT_NOFILE, &m_former);
    }
    Q_DISABLE_COPY_MOVE(FewFiles)

private:
    rlimit m_former = {};
    QList<int> m_taken;
};

/// Lets the process, and those that it starts, write no file beyond a size for as long as the
/// object lives: writes end short there as on a full disk.
class SmallFiles
{
public:
    explicit SmallFiles(rlim_t size) : m_formerHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &m_former);
        rlimit small = m_former;
        small.rlim_cur = size;
        ::setrlimit(RLIMIT_FSIZE, &small);
    }

    ~SmallFiles()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_former);
        std::signal(SIGXFSZ, m_formerHandler);
    }
    Q_DISABLE_COPY_MOVE(SmallFiles)

private:
    void (*m_formerHandler)(int);
    rlimit m_former = {};
};
