#pragma once

// Compiled before one of Quillmere's files, it takes that file's locks away: a race is planted.

#include <QMutexLocker>

class NoLocker
{
public:
    template <typename Mutex>
    explicit NoLocker(Mutex*)
    {}
    ~NoLocker() {}
};

#define QMutexLocker NoLocker
