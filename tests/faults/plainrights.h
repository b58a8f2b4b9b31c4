#pragma once

/// Has this program obey the permissions of files also where root runs it: starts it anew, with the
/// same arguments and without the right to pass over permissions. To be called first in main().
void obeyPermissions(char* arguments[]);

/// Whether permissions are obeyed: true but where root runs on a system that cannot drop that
/// right.
[[nodiscard]] bool arePermissionsObeyed();

/// No regular file can grow any more, as on a full disk, for as long as the object lives.
class FullDisk
{
public:
    FullDisk();
    ~FullDisk();
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    unsigned long m_formerLimit;
};
