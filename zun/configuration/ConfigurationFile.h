#pragma once

#include <zun/platform/xml/AdvXMLParser.h>

#include <memory>
#include <string>

namespace orvane_com::zun::configuration {

/// Reads and parses the agent's configuration file. Throws what the XML service throws.
std::unique_ptr<AdvXMLParser::Document> readConfigurationFile(std::wstring const& path);

} // namespace orvane_com::zun::configuration
