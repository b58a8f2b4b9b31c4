#include "console.h"

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

int console = STDERR_FILENO;

} // namespace

void silenceConsole()
{
    console = ::dup(STDERR_FILENO);
    const int null = ::open("/dev/null", O_WRONLY);
    ::dup2(null, STDERR_FILENO);
    ::close(null);
}

void tell(const QString& line)
{
    const QByteArray text = line.toUtf8() + '\n';
    if (::write(console, text.constData(), size_t(text.size())) < 0) {
        std::abort();
    }
}

void fail(const QString& reason)
{
    tell(reason);
    std::exit(2);
}
