#pragma once

#include <string>

#include <morvalincore/Configurable.h>
#include <morvalincore/DataList.h>
#include <morvalinlib/Export.h>

namespace Morvalin {

/// A step that a user picks from a menu and that a workspace saves. Used by one thread at a time.
class MORVALINLIB_EXPORT Algorithm : public Configurable {
public:
    /// How the algorithm was made.
    struct FactoryInfo {
        std::string id; ///< full id, such as "NDITracking.AuroraTrackingStream"
        std::string displayName;
        DataList input;
    };

    Algorithm() = default;
    Algorithm(const Algorithm&) = delete;
    Algorithm& operator=(const Algorithm&) = delete;
    ~Algorithm() override;

    void setFactoryInfo(FactoryInfo info);
    const FactoryInfo& factoryInfo() const { return info; }
    /// The display name.
    std::string name() const;

    /// Executes the algorithm.
    virtual void compute() = 0;

private:
    FactoryInfo info;
};

} // namespace Morvalin
