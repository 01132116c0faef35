#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <morvalincore/DataList.h>
#include <morvalincore/Properties.h>
#include <morvalinlib/Algorithm.h>
#include <morvalinlib/IoAlgorithm.h>

namespace Morvalin {

/// Makes the algorithms of one plug-in. Used by one thread at a time.
class MORVALINLIB_EXPORT AlgorithmFactory {
public:
    /// True when an algorithm can work on this input.
    using Predicate = std::function<bool(const DataList& input)>;

    struct Entry;
    /// Makes the algorithm of an entry, or null when the input does not suit it.
    using Creator =
        std::function<std::unique_ptr<Algorithm>(const Entry& entry, const DataList& input)>;

    /// One registered algorithm.
    struct MORVALINLIB_EXPORT Entry {
        std::string id;       ///< factory name, ".", registered name
        std::string category; ///< menu path, separated by ";"; the last piece is the display name
        Predicate predicate;
        Creator creator;
        std::unique_ptr<Properties> configuration; ///< applied to every new algorithm; may be null

        std::string displayName() const;
    };

    /// What a user is offered.
    struct Descriptor {
        std::string id;
        std::string displayName;
        std::string category;
    };

    /// The ids begin with `name`. Algorithms of a factory that is not offered can be made by their
    /// id but stand in no list or menu of the host.
    AlgorithmFactory(std::string name, bool offered);
    AlgorithmFactory(const AlgorithmFactory&) = delete;
    AlgorithmFactory& operator=(const AlgorithmFactory&) = delete;
    virtual ~AlgorithmFactory();

    const std::string& name() const { return factoryName; }
    bool isOffered() const { return offered; }
    const std::vector<Entry>& entries() const { return registered; }

    /// Null for an unknown id, when the creator makes nothing, and when it throws, which is logged.
    /// Never throws.
    virtual std::unique_ptr<Algorithm> instantiateAlgorithm(const std::string& id,
                                                            const DataList& input);
    /// Likewise, for algorithms that are IoAlgorithms.
    virtual std::unique_ptr<IoAlgorithm> instantiateIoAlgorithm(const std::string& id,
                                                                const DataList& input);
    /// Entries whose predicate accepts the input, in the order of registration.
    virtual std::vector<Descriptor> compatibleDescriptors(const DataList& input) const;
    /// Those of them that stand below "IO" in the menu.
    virtual std::vector<Descriptor> compatibleIoDescriptors(const DataList& input) const;
    /// Those that can read the file of that path; none by default.
    virtual std::vector<Descriptor> compatibleIoDescriptors(const std::string& path) const;
    /// Descriptor of an id; its id is empty when unknown.
    virtual Descriptor algorithmDescriptor(const std::string& id) const;
    virtual std::vector<Descriptor> algorithmDescriptors() const;
    virtual std::vector<Descriptor> ioAlgorithmDescriptors() const;
    /// Moves the entry of that id to the front; false when unknown.
    virtual bool addAlgorithmFactoryToFront(const std::string& id);

    /// Keeps settings for every algorithm of that id that is made from now on; false when unknown.
    bool setStoredConfiguration(const std::string& id, const Properties& configuration);

protected:
    /// Appends an entry under the id name() + "." + registeredName. An id that is taken is not
    /// replaced: a warning is logged.
    void registerAlgorithm(const std::string& category, const std::string& registeredName,
                           Predicate predicate, Creator creator);

private:
    const Entry* find(const std::string& id) const;

    const std::string factoryName;
    const bool offered;
    std::vector<Entry> registered;
};

} // namespace Morvalin
