#include "companion/report/progress.h"

#include "companion/report/texttable.h"

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int patience = 2'000; // milliseconds until something is told
constexpr int interval = 200;   // between two texts

const QString clearLine = u"\r\u001b[K"_s;

} // namespace

Progress::Progress(QTextStream& err, bool isTerminal) : m_err(err), m_isTerminal(isTerminal)
{
    m_time.start();
    m_wait.setSingleShot(true);
}

Progress::~Progress()
{
    if (m_hasShown) {
        m_err << clearLine << Qt::flush;
    }
}

bool Progress::isOnTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
}

void Progress::tell(const QString& what)
{
    const qint64 now = m_time.elapsed();
    if (now >= patience && now - m_last >= interval) {
        show(what);
        m_last = now;
    }
}

void Progress::waitFor(const QString& what)
{
    m_wait.callOnTimeout(&m_wait, [this, what] { show(what); });
    m_wait.start(patience);
}

void Progress::show(const QString& what)
{
    if (m_isTerminal) {
        m_err << clearLine << printable(what) << Qt::flush;
        m_hasShown = true;
    }
}
