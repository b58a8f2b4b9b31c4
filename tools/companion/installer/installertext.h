#pragma once

#include "companion/installer/installerfacts.h"

class QTextStream;

/// Writes what an installer brings, a line for each application and for each thing that is to be
/// known of it, indented by two blanks.
void writeInstaller(const InstallerFacts& facts, QTextStream& out);
