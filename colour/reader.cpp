#include "cli/colour_files.h"

#include <OpenColorIO/OpenColorIO.h>

#include <vector>

#include "cli/colour_reader.h"
#include "cli/output.h"

namespace lutc_cli {

namespace OCIO = OCIO_NAMESPACE;

namespace {

struct CdlEntry {
    std::string id;  // possibly empty
    cdl values;
};

CdlEntry entry_of(const OCIO::CDLTransform& transform) {
    CdlEntry entry{transform.getID(), {}};
    transform.getSlope(entry.values.slope);
    transform.getOffset(entry.values.offset);
    transform.getPower(entry.values.power);
    entry.values.saturation = transform.getSat();
    return entry;
}

std::string shown_ids(const std::vector<CdlEntry>& entries) {
    std::string shown;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        shown += (i == 0 ? "" : ", ") + (entries[i].id.empty() ? "#" + std::to_string(i + 1) : entries[i].id);
    }
    return shown;
}

}  // namespace

cdl read_cdl_file(const std::string& path, const std::string& id) {
    std::vector<CdlEntry> entries;
    read_colour_file(path, [&] {
        const OCIO::GroupTransformRcPtr group = OCIO::CDLTransform::CreateGroupFromFile(path.c_str());
        for (int i = 0; i < group->getNumTransforms(); ++i) {
            const auto transform = OCIO::DynamicPtrCast<OCIO::CDLTransform>(group->getTransform(i));
            if (transform) entries.push_back(entry_of(*transform));
        }
    });
    if (entries.empty()) throw Failure(exit_usage, path + ": the file holds no ColorCorrection");
    if (id.empty() && entries.size() == 1) return entries.front().values;
    if (id.empty()) throw Failure(exit_usage, path + ": several entries; give --id with one of: " + shown_ids(entries));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].id == id) return entries[i].values;
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if ("#" + std::to_string(i + 1) == id) return entries[i].values;
    }
    throw Failure(exit_usage, path + ": no entry '" + id + "'; there are: " + shown_ids(entries));
}

}  // namespace lutc_cli
