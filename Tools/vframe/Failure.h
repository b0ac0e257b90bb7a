// How the program says that something went wrong.
#pragma once

#include <stdexcept>
#include <string>

namespace vframe {

inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

/// What went wrong and why, for the one line that the user sees: "vframe: what: why".
class Failure : public std::runtime_error {
  public:
    Failure(const std::string& inWhat, const std::string& inWhy, int inExitStatus = kExitFailure)
        : std::runtime_error(inWhat + ": " + inWhy), exitStatus_(inExitStatus) {}

    int ExitStatus() const { return exitStatus_; }

  private:
    int exitStatus_;
};

/// An argument that cannot be understood.
class UsageFailure : public Failure {
  public:
    UsageFailure(const std::string& inWhat, const std::string& inWhy)
        : Failure(inWhat, inWhy, kExitUsage) {}
};

}  // namespace vframe
