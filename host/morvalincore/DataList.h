#pragma once

#include <cstddef>
#include <vector>

namespace Morvalin {

class Data;

/// Ordered list of data, not owned; copying copies the pointers.
class DataList {
public:
    bool empty() const { return items.empty(); }
    std::size_t size() const { return items.size(); }
    Data* operator[](std::size_t index) const { return items[index]; }
    void add(Data* data) { items.push_back(data); }
    auto begin() const { return items.begin(); }
    auto end() const { return items.end(); }

private:
    std::vector<Data*> items;
};

} // namespace Morvalin
