#pragma once

#include <QtGlobal>

#include <functional>

/// Yields bytes one after another: writes as many as the buffer takes, at most, and returns how
/// many those are; 0 at the end, a negative number when reading fails.
using ByteSource = std::function<qint64(char* buffer, qint64 size)>;
