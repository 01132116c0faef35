#include <morvalinlib/AlgorithmFactory.h>

#include <algorithm>
#include <exception>
#include <utility>

#include <morvalincore/LogText.h>

namespace Morvalin {

namespace {

constexpr char categorySeparator = ';';
constexpr const char* logCategory = "AlgorithmFactory";

AlgorithmFactory::Descriptor describe(const AlgorithmFactory::Entry& entry) {
    return {entry.id, entry.displayName(), entry.category};
}

bool isIo(const AlgorithmFactory::Entry& entry) {
    return entry.category.substr(0, entry.category.find(categorySeparator)) == "IO";
}

template <class Condition>
std::vector<AlgorithmFactory::Descriptor>
describeIf(const std::vector<AlgorithmFactory::Entry>& entries, Condition condition) {
    std::vector<AlgorithmFactory::Descriptor> result;
    for (const AlgorithmFactory::Entry& entry : entries)
        if (condition(entry))
            result.push_back(describe(entry));
    return result;
}

void logFailedCreation(const std::string& id, const char* message) {
    logText(Log::Error, logCategory, "Cannot create algorithm ", id, ": ", message);
}

} // namespace

std::string AlgorithmFactory::Entry::displayName() const {
    // Without a separator rfind gives npos, and npos + 1 is the beginning.
    return category.substr(category.rfind(categorySeparator) + 1);
}

AlgorithmFactory::AlgorithmFactory(std::string name, bool isFactoryOffered) :
    factoryName(std::move(name)), offered(isFactoryOffered) {}

AlgorithmFactory::~AlgorithmFactory() = default;

std::unique_ptr<Algorithm> AlgorithmFactory::instantiateAlgorithm(const std::string& id,
                                                                  const DataList& input) {
    const Entry* const entry = find(id);
    if (entry == nullptr || !entry->creator)
        return nullptr;
    try {
        return entry->creator(*entry, input);
    } catch (const std::exception& exception) {
        logFailedCreation(id, exception.what());
    } catch (...) {
        logFailedCreation(id, "");
    }
    return nullptr;
}

std::unique_ptr<IoAlgorithm> AlgorithmFactory::instantiateIoAlgorithm(const std::string& id,
                                                                      const DataList& input) {
    std::unique_ptr<Algorithm> algorithm = instantiateAlgorithm(id, input);
    auto* const io = dynamic_cast<IoAlgorithm*>(algorithm.get());
    if (io != nullptr)
        algorithm.release(); // NOLINT(bugprone-unused-return-value): io is the same object
    return std::unique_ptr<IoAlgorithm>(io);
}

std::vector<AlgorithmFactory::Descriptor>
AlgorithmFactory::compatibleDescriptors(const DataList& input) const {
    return describeIf(
        registered, [&](const Entry& entry) { return entry.predicate && entry.predicate(input); });
}

std::vector<AlgorithmFactory::Descriptor>
AlgorithmFactory::compatibleIoDescriptors(const DataList& input) const {
    return describeIf(registered, [&](const Entry& entry) {
        return isIo(entry) && entry.predicate && entry.predicate(input);
    });
}

std::vector<AlgorithmFactory::Descriptor>
AlgorithmFactory::compatibleIoDescriptors(const std::string&) const {
    return {};
}

AlgorithmFactory::Descriptor AlgorithmFactory::algorithmDescriptor(const std::string& id) const {
    const Entry* const entry = find(id);
    return entry == nullptr ? Descriptor{} : describe(*entry);
}

std::vector<AlgorithmFactory::Descriptor> AlgorithmFactory::algorithmDescriptors() const {
    return describeIf(registered, [](const Entry&) { return true; });
}

std::vector<AlgorithmFactory::Descriptor> AlgorithmFactory::ioAlgorithmDescriptors() const {
    return describeIf(registered, isIo);
}

bool AlgorithmFactory::addAlgorithmFactoryToFront(const std::string& id) {
    const auto entry = std::find_if(registered.begin(), registered.end(),
                                    [&](const Entry& candidate) { return candidate.id == id; });
    if (entry == registered.end())
        return false;
    std::rotate(registered.begin(), entry, entry + 1);
    return true;
}

bool AlgorithmFactory::setStoredConfiguration(const std::string& id,
                                              const Properties& configuration) {
    for (Entry& entry : registered) {
        if (entry.id != id)
            continue;
        entry.configuration = std::make_unique<Properties>(configuration);
        return true;
    }
    return false;
}

void AlgorithmFactory::registerAlgorithm(const std::string& category,
                                         const std::string& registeredName, Predicate predicate,
                                         Creator creator) {
    std::string id = factoryName + "." + registeredName;
    if (find(id) != nullptr) {
        logText(Log::Warning, logCategory, "Algorithm already registered: ", id);
        return;
    }
    registered.push_back(
        {std::move(id), category, std::move(predicate), std::move(creator), nullptr});
}

const AlgorithmFactory::Entry* AlgorithmFactory::find(const std::string& id) const {
    for (const Entry& entry : registered)
        if (entry.id == id)
            return &entry;
    return nullptr;
}

} // namespace Morvalin
