#pragma once

#include <QString>

/// Keeps from the tests' output what the offscreen platform says whenever a window is shown; the
/// words that matter drown in it.
inline void quietPlatform()
{
    static QtMessageHandler next = nullptr;
    if (next) {
        return;
    }
    next = qInstallMessageHandler(
        [](QtMsgType type, const QMessageLogContext& context, const QString& message) {
            if (message != QLatin1String("This plugin does not support propagateSizeHints()")) {
                next(type, context, message);
            }
        });
}
