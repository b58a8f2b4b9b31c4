#pragma once

#include <QtGlobal>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

/// Does pieces of work, numbered from 0, in several threads, and hands out the results in their
/// order. No more than a few pieces are done ahead of the one that is asked for.
template <typename Result>
class WorkAhead
{
public:
    /// Several threads call @p work, once for each piece.
    WorkAhead(qsizetype count, int threads, std::function<Result(qsizetype piece)> work)
        : m_count(count)
        , m_work(std::move(work))
    {
        for (auto left = std::min<qsizetype>(std::max(1, threads), count); left > 0; --left) {
            m_threads.emplace_back([this] { workOn(); });
        }
    }
    /// Begins no further piece, and waits for the end of those that were begun.
    ~WorkAhead()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_hasEnded = true;
        }
        m_change.notify_all();
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }
    Q_DISABLE_COPY_MOVE(WorkAhead)

    /// Waits for the result of the next piece, the first one included, of which there must be one;
    /// calls @p meanwhile ten times a second.
    [[nodiscard]] Result next(const std::function<void()>& meanwhile)
    {
        std::unique_lock lock(m_mutex);
        const auto isThere = [this] { return m_results.count(m_taken) > 0; };
        while (!m_change.wait_for(lock, std::chrono::milliseconds(100), isThere)) {
            lock.unlock();
            meanwhile();
            lock.lock();
        }
        auto result = m_results.extract(m_taken);
        ++m_taken;
        m_change.notify_all();
        return std::move(result.mapped());
    }

private:
    void workOn()
    {
        constexpr qsizetype most = 64; // pieces that are done and not taken
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_change.wait(lock, [this] { return m_hasEnded || m_begun < m_taken + most; });
            if (m_hasEnded || m_begun == m_count) {
                return;
            }
            const qsizetype piece = m_begun++;
            lock.unlock();
            Result result = m_work(piece);
            lock.lock();
            m_results.emplace(piece, std::move(result));
            m_change.notify_all();
        }
    }

    const qsizetype m_count;
    const std::function<Result(qsizetype)> m_work;
    std::mutex m_mutex;
    std::condition_variable m_change;
    std::map<qsizetype, Result> m_results; ///< not taken yet
    qsizetype m_begun = 0;                 ///< pieces
    qsizetype m_taken = 0;
    bool m_hasEnded = false;
    std::vector<std::thread> m_threads;
};
