#pragma once

/// Between fork and exec: gives the process that is about to read an installer its limits, and lets
/// it end with the one that started it.
void limitReader();
