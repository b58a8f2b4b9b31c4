#pragma once

#include <QString>

/// Whether the application named @p name is this program, so that installing it needs a restart:
/// its name holds the product's, in whatever letter case.
[[nodiscard]] bool isOwnUpdate(const QString& name);
