// What the zandb4 tool prints about a catalogue root: its folders and store
// files, each store with its schema version, read without changing anything.
#pragma once

#include <ostream>
#include <string>

namespace zandb4::tool {

// Whether root holds a catalogue, i.e. a "database" folder.
bool IsCatalogueRoot(const std::string& root);

// Lists root/database and root/information: one line per folder, and per
// store file its schema version (or why it has none), its page size and the
// row count of each of its tables.
void ReportCatalogue(const std::string& root, std::ostream& out);

}  // namespace zandb4::tool
