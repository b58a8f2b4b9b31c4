#pragma once

#include <atomic>

/// While it lives, a signal that would end the program (Ctrl-C among them) is noted instead, so
/// that what was begun can be ended and removed. One at a time.
class Interruption
{
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Whether such a signal has come.
    [[nodiscard]] const std::atomic<bool>& hasCome() const;
    /// What a shell calls the end by the signal that has come: 130 for Ctrl-C.
    [[nodiscard]] int exitStatus() const;
};
