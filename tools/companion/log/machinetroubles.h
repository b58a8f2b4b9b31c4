#pragma once

struct LogEntry;
class TroubleList;

/// What goes wrong with the scan, the versions, the matches and the settings of a machine: adds it
/// to @p list.
void readMachineTroubles(const LogEntry& entry, TroubleList& list);
