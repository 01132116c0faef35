#pragma once

#include <morvalinlib/AlgorithmFactory.h>

namespace Morvalin {

/// Offers the streams of the three device families in the host's "IO" menu.
class NDIAlgorithmFactory : public AlgorithmFactory {
public:
    NDIAlgorithmFactory();
    ~NDIAlgorithmFactory() override;

private:
    template <int N>
    void registerFamily(const char* category, const char* registeredName);
};

} // namespace Morvalin
