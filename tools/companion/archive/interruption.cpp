#include "companion/archive/interruption.h"

#include <array>
#include <csignal>

namespace {

constexpr std::array<int, 3> signalsOfEnd = {SIGINT, SIGTERM, SIGHUP};
constexpr int statusOfSignals = 128;

// A handler may touch nothing else.
std::atomic<bool> isInterrupted = false;
std::atomic<int> signalThatCame = 0;

extern "C" void noteSignal(int signal)
{
    signalThatCame = signal;
    isInterrupted = true;
}

} // namespace

Interruption::Interruption()
{
    isInterrupted = false;
    signalThatCame = 0;
    for (const int signal : signalsOfEnd) {
        std::signal(signal, noteSignal);
    }
}

Interruption::~Interruption()
{
    for (const int signal : signalsOfEnd) {
        std::signal(signal, SIG_DFL);
    }
}

const std::atomic<bool>& Interruption::hasCome() const
{
    return isInterrupted;
}

int Interruption::exitStatus() const
{
    return statusOfSignals + signalThatCame;
}
