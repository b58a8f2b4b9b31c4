#pragma once

#include <QString>

#include <condition_variable>
#include <mutex>
#include <thread>

class FleetReader;

/// "42 %, 3 min left": how far a reading is, @p milliseconds after its begin.
[[nodiscard]] QString progressText(qint64 done, qint64 all, qint64 milliseconds);

/// Shows on a terminal how far a reading is, for as long as it lives; elsewhere does nothing.
class ForecastProgress
{
public:
    /// @p reader must outlive this.
    explicit ForecastProgress(const FleetReader& reader);
    ~ForecastProgress();
    ForecastProgress(const ForecastProgress&) = delete;
    ForecastProgress& operator=(const ForecastProgress&) = delete;

private:
    void show();

    const FleetReader& m_reader;
    std::mutex m_mutex;
    std::condition_variable m_ending;
    bool m_hasEnded = false;
    std::thread m_thread;
};
