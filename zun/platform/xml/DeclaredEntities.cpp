#include <zun/platform/xml/DeclaredEntities.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace AdvXMLParser {

namespace {

/// The text from the first of these characters on.
std::string_view from(std::string_view stops, std::string_view text) {
    return text.substr(std::min(text.find_first_of(stops), text.size()));
}

/// The size of the text up to `end` and with it.
std::size_t sizeThrough(std::string_view text, std::string_view end) {
    std::size_t const found = text.find(end);
    return found == text.npos ? text.size() : found + end.size();
}

/// The name of the entity that the text begins with a reference to.
std::string_view takeReference(std::string_view& text) {
    std::string_view const reference = text.substr(0, sizeThrough(text, ";"));
    text.remove_prefix(reference.size());
    return reference.substr(1, reference.size() - (reference.ends_with(';') ? 2 : 1));
}

std::size_t tagSize(std::string_view text) {
    char quote = '\0';
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (quote != '\0')
            quote = text[i] == quote ? '\0' : quote;
        else if (text[i] == '"' || text[i] == '\'')
            quote = text[i];
        else if (text[i] == '>')
            return i + 1;
    }
    return text.size();
}

/// How far what begins with "<" goes.
std::size_t markupSize(std::string_view text) {
    if (text.starts_with("<!--"))
        return sizeThrough(text, "-->");
    if (text.starts_with("<![CDATA["))
        return sizeThrough(text, "]]>");
    return text.starts_with("<?") ? sizeThrough(text, "?>") : tagSize(text);
}

} // namespace

DeclaredEntities::DeclaredEntities() {
    for (char const* const predefined : {"amp", "lt", "gt", "quot", "apos"})
        m_entities[predefined];
}

void DeclaredEntities::add(std::string_view name, std::string_view value) {
    m_entities[std::string(name)].value = value;
}

bool DeclaredEntities::coverTag(std::string_view tag) {
    while (!(tag = from("&", tag)).empty()) {
        std::string_view const name = takeReference(tag);
        auto const found = m_entities.find(name);
        if (found == m_entities.end()) {
            if (!name.starts_with('#'))
                return false;
        } else if (!std::exchange(found->second.isSeenInTag, true) && !coverTag(found->second.value)) {
            return false;
        }
    }
    return true;
}

bool DeclaredEntities::coverTagsIn(std::string_view name) {
    auto const found = m_entities.find(name);
    // One that is not declared stays as it is written.
    if (found == m_entities.end() || std::exchange(found->second.isSeenInContent, true))
        return true;
    for (std::string_view text = found->second.value; !(text = from("<&", text)).empty();) {
        if (text.starts_with('&')) {
            if (!coverTagsIn(takeReference(text)))
                return false;
        } else {
            std::string_view const markup = text.substr(0, markupSize(text));
            text.remove_prefix(markup.size());
            if (!markup.starts_with("<!") && !markup.starts_with("<?") && !coverTag(markup))
                return false;
        }
    }
    return true;
}

} // namespace AdvXMLParser
