#pragma once

#include "companion/log/clientlog.h"

#include <optional>

class TroubleList;

/// What goes wrong when the client loads the catalogue.
class CatalogueTroubles
{
public:
    /// Troubles go to @p list, which must live longer.
    explicit CatalogueTroubles(TroubleList& list) : m_list(list) {}

    void read(const LogEntry& entry);
    /// The log has ended, or another load begins.
    void finish();

private:
    void take(const LogEntry& entry, const Logged::CatalogueLoadBegun&);
    void take(const LogEntry& entry, const Logged::CatalogueTimedOut& timeOut);
    void take(const LogEntry& entry, const Logged::CatalogueFailed& failure);
    void take(const LogEntry&, const Logged::CatalogueRetried&);
    void take(const LogEntry&, const Logged::CatalogueLoadEnded&);
    void take(const LogEntry&, const Logged::ScanBegun&) { m_isScanned = false; }
    void take(const LogEntry&, const Logged::ScanEnded&);
    void take(const LogEntry&, const Logged::RowMatched&);
    template <typename Other>
    void take(const LogEntry&, const Other&)
    {}
    void noteFailure();

    /// What is known of the last load of the catalogue.
    struct Load
    {
        LogEntry begin;
        bool wasRetried = false;
        bool hasFailed = false; ///< in the last attempt, with an error logged
        bool hasEnded = false;
        bool mustShowRows = false; ///< a scan's result has been there since
        bool hasRows = false;
    };

    TroubleList& m_list;
    std::optional<Load> m_load;
    bool m_isScanned = false;
};
