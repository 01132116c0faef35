#pragma once

#include <list>
#include <string>

#include <morvalincore/Properties.h>

namespace Morvalin::App {

/// A workspace in memory: what its file holds and what a save would write. Blocks that nobody
/// understands, and everything else in the file, stay as they were read. GUI thread.
class WorkspaceDocument {
public:
    /// Empty and without a file.
    WorkspaceDocument();

    /// Replaces the document by a file's. False, with one line that names the file and the fault
    /// and the document as it was, when it cannot be read.
    bool load(const std::string& path, std::string& error);
    /// Writes the file, which the document belongs to from then on. False with one line on failure.
    bool save(const std::string& path, std::string& error);

    /// The file; empty for none.
    const std::string& path() const { return file; }

    /// The algorithm blocks, named by their ids. References stay valid until load() or removal.
    std::list<Properties>& blocks() { return algorithms().children(); }
    Properties& addBlock(const std::string& algorithmId);
    void removeBlock(const Properties& block);

    /// A save would change what the file says.
    bool isModified() const;

private:
    Properties& algorithms();

    Properties root;
    Properties saved;
    std::string file;
};

} // namespace Morvalin::App
