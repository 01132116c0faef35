#pragma once

#include <morvalinlib/Algorithm.h>

namespace Morvalin {

/// An algorithm that exchanges data with something outside the host.
class MORVALINLIB_EXPORT IoAlgorithm : public Algorithm {
public:
    enum Status : int { Success = 0, Failure = 1 };

    /// Outcome of the last run.
    int status() const { return currentStatus; }

    /// Takes over what the process-wide settings hold for this algorithm: the parameters of the
    /// block that bears its full id, if there is one.
    virtual void configureFromGlobalSettings();

protected:
    void setStatus(int status) { currentStatus = status; }

private:
    int currentStatus = Success;
};

} // namespace Morvalin
