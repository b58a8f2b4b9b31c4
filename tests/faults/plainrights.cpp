#include "faults/plainrights.h"

#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

#ifdef __linux__
#include <linux/capability.h>
#include <sys/prctl.h>
#endif

void obeyPermissions([[maybe_unused]] char* arguments[])
{
#ifdef __linux__
    const bool passesOver = ::geteuid() == 0 && ::prctl(PR_CAPBSET_READ, CAP_DAC_OVERRIDE) == 1;
    if (passesOver && ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE) == 0 &&
        ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH) == 0) {
        ::execv("/proc/self/exe", arguments); // which a bounding set takes effect at
    }
#endif
}

bool arePermissionsObeyed()
{
#ifdef __linux__
    return ::geteuid() != 0 || ::prctl(PR_CAPBSET_READ, CAP_DAC_OVERRIDE) == 0;
#else
    return ::geteuid() != 0;
#endif
}

FullDisk::FullDisk()
{
    ::signal(SIGXFSZ, SIG_IGN); // the writer gets an error instead
    rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    m_formerLimit = limit.rlim_cur;
    limit.rlim_cur = 0;
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

FullDisk::~FullDisk()
{
    rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = m_formerLimit;
    ::setrlimit(RLIMIT_FSIZE, &limit);
}
