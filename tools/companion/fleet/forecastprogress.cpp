#include "companion/fleet/forecastprogress.h"

#include "companion/fleet/fleetreader.h"

#include <QElapsedTimer>

#include <chrono>
#include <cstdio>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

QString progressText(qint64 done, qint64 all, qint64 milliseconds)
{
    if (done <= 0 || all <= 0) {
        return u"0 %"_s;
    }
    const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(all));
    const qint64 left = qRound64(static_cast<double>(milliseconds) * (1.0 - share) / share / 1'000);
    const QString time = left < 90 ? u"%1 s"_s.arg(left) : u"%1 min"_s.arg((left + 30) / 60);
    return u"%1 %, %2 left"_s.arg(QString::number(int(share * 100.0)), time);
}

ForecastProgress::ForecastProgress(const FleetReader& reader) : m_reader(reader)
{
    if (isatty(STDERR_FILENO) != 0) {
        m_thread = std::thread([this] { show(); });
    }
}

ForecastProgress::~ForecastProgress()
{
    if (m_thread.joinable()) {
        {
            const std::lock_guard locker(m_mutex);
            m_hasEnded = true;
        }
        m_ending.notify_one();
        m_thread.join();
    }
}

void ForecastProgress::show()
{
    QElapsedTimer timer;
    timer.start();
    std::unique_lock locker(m_mutex);
    while (
        !m_ending.wait_for(locker, std::chrono::milliseconds(500), [this] { return m_hasEnded; })) {
        const QString text =
            progressText(m_reader.bytesRead(), m_reader.bytesToRead(), timer.elapsed());
        std::fprintf(stderr, "\r\033[K%s", qUtf8Printable(text));
        std::fflush(stderr);
    }
    std::fprintf(stderr, "\r\033[K");
}
