#include "companion/installer/readerlimits.h"

#include "companion/installer/limits.h"

#include <sys/resource.h>

#ifdef __linux__
#include <sys/prctl.h>

#include <csignal>
#endif

// clang tells of AddressSanitizer by this, GCC by a macro.
#ifndef __has_feature
#define __has_feature(feature) 0
#endif

namespace {

// AddressSanitizer reserves more addresses than any machine has memory.
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
constexpr bool reservesMemory = true;
#else
constexpr bool reservesMemory = false;
#endif

void limit(decltype(RLIMIT_CPU) what, qint64 most)
{
    const rlim_t value = static_cast<rlim_t>(most);
    const rlimit both{value, value};
    setrlimit(what, &both);
}

} // namespace

void limitReader()
{
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_CPU, InstallerLimits::processorSeconds);
    limit(RLIMIT_FSIZE, InstallerLimits::fileBytes);
    if (!reservesMemory) {
        limit(RLIMIT_AS, InstallerLimits::memory);
    }
}
