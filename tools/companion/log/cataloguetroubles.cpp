#include "companion/log/cataloguetroubles.h"

#include "companion/log/troublelist.h"

using namespace Qt::Literals::StringLiterals;

void CatalogueTroubles::read(const LogEntry& entry)
{
    std::visit([&](const auto& event) { take(entry, event); }, entry.event);
}

void CatalogueTroubles::take(const LogEntry& entry, const Logged::CatalogueLoadBegun&)
{
    finish();
    m_load = Load{.begin = entry};
}

void CatalogueTroubles::take(const LogEntry& entry, const Logged::CatalogueTimedOut& timeOut)
{
    noteFailure();
    m_list.add(entry, Severity::Error, u"catalogue-timeout"_s,
               u"The catalogue's server did not answer within 15 seconds: "_s + timeOut.address,
               {u"The server is overloaded or does not exist at that address, or a firewall "
                "swallows the request."_s,
                u"Open the address in a browser on the user's network; check the base URL in the "
                "preferences."_s});
}

void CatalogueTroubles::take(const LogEntry& entry, const Logged::CatalogueFailed& failure)
{
    noteFailure();
    m_list.add(entry, Severity::Error, u"catalogue-error"_s,
               u"The catalogue could not be fetched: "_s + failure.error,
               networkAdvice(failure.error));
}

void CatalogueTroubles::noteFailure()
{
    if (m_load) {
        m_load->hasFailed = true;
    }
}

void CatalogueTroubles::take(const LogEntry&, const Logged::CatalogueRetried&)
{
    if (m_load) {
        m_load->wasRetried = true;
        m_load->hasFailed = false;
    }
}

void CatalogueTroubles::take(const LogEntry&, const Logged::CatalogueLoadEnded&)
{
    if (m_load) {
        m_load->hasEnded = true;
        m_load->mustShowRows = m_isScanned;
    }
}

void CatalogueTroubles::take(const LogEntry&, const Logged::ScanEnded&)
{
    m_isScanned = true;
    if (m_load && m_load->hasEnded) {
        m_load->mustShowRows = true;
    }
}

void CatalogueTroubles::take(const LogEntry&, const Logged::RowMatched&)
{
    if (m_load) {
        m_load->hasRows = true;
    }
}

/// Each entry of a loaded catalogue is matched, and logged so, as soon as a scan's result is there.
/// So a load without an error and without such a line has brought no entry.
void CatalogueTroubles::finish()
{
    if (!m_load) {
        return;
    }
    const Load load = *m_load;
    m_load.reset();
    if (!load.hasEnded || load.hasFailed || !load.mustShowRows) {
        return;
    }
    if (load.hasRows) {
        if (load.wasRetried) {
            m_list.add(
                load.begin, Severity::Note, u"catalogue-retried"_s,
                u"The catalogue was loaded at the second attempt only."_s,
                {u"The first attempt failed or brought an empty answer."_s,
                 u"Nothing, unless it happens often: then the server is too slow or restarts."_s});
        }
        return;
    }
    m_list.add(
        load.begin, Severity::Error, u"catalogue-empty"_s,
        load.wasRetried
            ? u"The catalogue's server answered, but with nothing in it or without a valid entry."_s
            : u"The catalogue was fetched, but it holds no valid entry."_s,
        {u"The separator in the preferences is not the file's, the header has no column titled "
         "exactly Ignored, no line has 0 there, or the answer is no catalogue but a web page, such "
         "as a login's."_s,
         u"Run the check command on the address with the user's separator."_s});
}
