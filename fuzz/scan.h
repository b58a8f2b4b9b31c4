#pragma once

#include "system/sysprofiler.h"

/// Scans with @p engine, whose command prints @p output, and requires that every query about the
/// result agrees with @p expected, and each with the others: all names in ascending order, the
/// names that start with @p prefix, whether there are any, every property of every application.
void requireScanResult(SysProfiler::SearchEngine engine, const QByteArray& output,
                       const QString& prefix, const PropertyMap& expected);
