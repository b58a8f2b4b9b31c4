#pragma once

#include "companion/log/logevent.h"

#include <optional>

/// Reads @p text if it is a line of a match: "Profiler - 'Synth' → matched 'Synth' v1.0", or the
/// same with its candidates, or with none; nothing for any other line.
///
/// A name can hold whatever stands around names in such a line. @p installed, the names that the
/// log told last, ascending, decide where one ends; where they do not fit the line, each name is
/// taken as long as can be, and no version is certain.
[[nodiscard]] std::optional<Logged::RowMatched> readMatchLine(const QString& text,
                                                              const QStringList& installed);
