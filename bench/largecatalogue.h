#pragma once

#include "benchmark.h"
#include "web/webprofiler.h"

/// The lines of the catalogue that parsers are measured with.
constexpr int lineCount = 100'000;

/// An empty catalogue.
inline WebProfiler newCatalogue()
{
    return WebProfiler(QStringLiteral("https://example.org/"), QStringLiteral("c.csv"),
                       QStringLiteral(","), QStringLiteral("data/"));
}

/// What the program's own parser takes for @p body.
inline double parseSeconds(const QByteArray& body)
{
    WebProfiler catalogue = newCatalogue();
    return secondsOf([&] { catalogue.updateData(body); });
}
