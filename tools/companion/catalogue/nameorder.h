#pragma once

#include "companion/catalogue/cataloguetext.h"

#include <vector>

/// Entries of a list that outlives it, in another order.
using EntryOrder = std::vector<const CatalogueEntry*>;

/// The entries that have a name, ascending by it, those of one name by line.
[[nodiscard]] EntryOrder inOrderOfNames(const QList<CatalogueEntry>& entries);
