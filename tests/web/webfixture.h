#pragma once

#include "support/cataloguetext.h"
#include "support/privatehome.h"
#include "web/webprofiler.h"

#include <QRegularExpression>
#include <QTimer>

#include <functional>
#include <utility>

inline const QByteArray goodCatalogue =
    catalogueTitles + catalogueLine("Synth", "1.2", "2026-09-21", "Synth.pkg");

inline const QString retryLine =
    QStringLiteral("[WARNING] WebProfiler - First attempt failed, retrying once in 2s...");

/// The catalogue at @p url + @p csvPath.
class Catalogue : public WebProfiler
{
public:
    explicit Catalogue(const QString& url, const QString& csvPath = QStringLiteral("apps.csv"))
        : WebProfiler(url, csvPath, QStringLiteral(","), QStringLiteral("soft/"))
    {}
};

/// The log's lines, with "N" for the seconds that an update took: they differ from run to run.
inline QStringList linesWithoutDuration(const PrivateHome& home)
{
    static const QRegularExpression duration(
        QStringLiteral("(?<=execution duration: )[0-9]+(\\.[0-9]{1,3})?(?=s\\)$)"));
    QStringList lines = home.logLines();
    return lines.replaceInStrings(duration, QStringLiteral("N"));
}

/// What a whole update logs when its transfers log @p between.
inline QStringList linesOfAnUpdate(const QString& address, const QStringList& between = {})
{
    return QStringList{QStringLiteral("[INFO] Init WebProfiler"),
                       QStringLiteral("[INFO] WebProfiler - Clear Data"),
                       QStringLiteral("[INFO] WebProfiler - data Updating..."),
                       QStringLiteral("[INFO] WebProfiler - Reading csv data from: ") + address} +
           between +
           QStringList{QStringLiteral("[INFO] WebProfiler - data updated (execution "
                                      "duration: Ns)")};
}

/// Runs an action once, as soon as the log holds a line.
class LogWatch
{
public:
    LogWatch(const PrivateHome& home, const QString& line, std::function<void()> action)
    {
        m_timer.callOnTimeout(&m_timer, [this, &home, line, action = std::move(action)] {
            if (home.logLines().contains(line)) {
                m_timer.stop();
                m_hasActed = true;
                action();
            }
        });
        m_timer.start(5);
    }

    [[nodiscard]] bool hasActed() const { return m_hasActed; }

private:
    QTimer m_timer;
    bool m_hasActed = false;
};
