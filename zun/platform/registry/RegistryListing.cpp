#include <zun/platform/file/WholeFile.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/CaseFolding.h>
#include <zun/platform/registry/RegistryFormat.h>
#include <zun/platform/registry/RegistryListing.h>

#include <map>
#include <optional>
#include <set>

using namespace orvane_com::zun;
using registry::foldCase;
using registry::SectionReader;

bool listRegistryStore(std::wstring const& path, std::vector<RegistryListing>& keys) {
    std::string text;
    if (!file::readWholeFile(helper::toNarrow(path), text))
        return false;
    std::vector<RegistryListing> all;
    std::map<std::string, std::size_t> places;
    std::set<std::pair<std::size_t, std::string>> names;
    std::optional<std::size_t> current;
    SectionReader reader(registry::registryFormat, text);
    while (reader.next()) {
        if (reader.kind() == SectionReader::Line::header) {
            auto const [place, isNew] = places.try_emplace(foldCase(*reader.section()), all.size());
            if (isNew)
                all.push_back({*reader.section(), {}});
            current = place->second;
        } else if (reader.kind() == SectionReader::Line::entry && current) {
            std::optional<registry::RegistryValue> value = registry::parseRegistryValue(reader.value());
            if (value && names.emplace(*current, foldCase(reader.name())).second)
                all[*current].values.push_back({reader.name(), value->type, std::move(value->bytes)});
        }
    }
    keys = std::move(all);
    return true;
}
