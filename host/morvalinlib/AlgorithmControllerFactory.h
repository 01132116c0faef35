#pragma once

#include <memory>
#include <string>
#include <vector>

#include <morvalincore/DataList.h>
#include <morvalinlib/Export.h>

namespace Morvalin {

class Algorithm;

/// The panel of an algorithm. Created, initialised and destroyed in the GUI thread, and destroyed
/// before its algorithm.
class MORVALINLIB_EXPORT AlgorithmController {
public:
    virtual ~AlgorithmController();
    /// Called once after construction.
    virtual void init() = 0;
};

/// Makes the panels of one plug-in.
class MORVALINLIB_EXPORT AlgorithmControllerFactory {
public:
    /// A factory that is not offered is never asked by the host of its own accord.
    AlgorithmControllerFactory(std::string name, bool offered);
    AlgorithmControllerFactory(const AlgorithmControllerFactory&) = delete;
    AlgorithmControllerFactory& operator=(const AlgorithmControllerFactory&) = delete;
    virtual ~AlgorithmControllerFactory();

    const std::string& name() const { return factoryName; }
    bool isOffered() const { return offered; }

    /// The panel of an algorithm, or null when this factory has none for it. The caller owns it.
    virtual std::unique_ptr<AlgorithmController> create(Algorithm* algorithm) = 0;
    /// Names of panels for data; none by default.
    virtual std::vector<std::string> compatibleDataControllers(const DataList& data) const;

private:
    const std::string factoryName;
    const bool offered;
};

} // namespace Morvalin
