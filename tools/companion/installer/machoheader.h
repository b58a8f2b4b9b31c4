#pragma once

#include "companion/installer/known.h"

#include <QStringList>

/// The bytes at the start of a program that tell its processors.
constexpr qsizetype programHeadSize = 4096;

/// The processors that a program runs on, ascending, for example "arm64" and "x86_64"; by the head
/// of its file. Not known where the file is no program of a Mac.
[[nodiscard]] Known<QStringList> programProcessors(const QByteArray& head);
