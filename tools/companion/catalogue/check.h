#pragma once

#include "companion/catalogue/cataloguetext.h"

#include <QStringList>

class QTextStream;

/// Reads a catalogue as the client does and reports what is wrong with it alone.
CatalogueText checkCatalogue(const QByteArray& bytes, const QString& separator, Report& report);

/// `check CATALOGUE`: finds what is wrong with a catalogue. @p arguments begin with "check";
/// returns an ExitStatus.
int runCheck(const QStringList& arguments, QTextStream& out, QTextStream& err);
