#pragma once

#include <map>
#include <string>
#include <string_view>

namespace AdvXMLParser {

/// The entities that a document type declares, and the references in attributes to those that it does not:
/// Expat drops these silently when the document type has parts outside. All text is UTF-8.
class DeclaredEntities {
public:
    DeclaredEntities();

    /// A general entity; the value of an external one is empty.
    void add(std::string_view name, std::string_view value);

    /// Whether all references in the tag, or in an attribute's value, are to declared entities, and so on
    /// within these.
    bool coverTag(std::string_view tag);

    /// Whether that is so for all tags in the entity's text, and in those that it refers to.
    bool coverTagsIn(std::string_view name);

private:
    struct Entity {
        std::string value;
        bool isSeenInTag = false;
        bool isSeenInContent = false;
    };

    std::map<std::string, Entity, std::less<>> m_entities;
};

} // namespace AdvXMLParser
