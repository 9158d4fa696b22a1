#include <zun/files/AFile.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/structured/AnXml.h>
#include <zun/structured/AnXmlChildIndex.h>
#include <zun/structured/AnXmlNode.h>

#include <iostream>

using orvane_com::zun::helper::toNarrow;

int main() {
    AFile::write(L"policy.xml", ABuffer("<Policies version=\"1\"><Product id=\"A\">on</Product>"
                                        "<Product id=\"B\">off</Product></Policies>"));
    AnXml policy;
    if (policy.useExistingFile(L"policy.xml", L"Policies", L"version", L"1")) {
        AnXmlNode const root(&policy);
        AnXmlChildIndex product(&root, L"Product");
        AString id;
        AString state;
        while (product.moveNext(L"id", &id)) {
            product.getExistingValue(L"", &state); // "" is the element's own text
            std::cout << toNarrow(id.const_cpp_str()) << " is " << toNarrow(state.const_cpp_str()) << '\n';
        }
    }
    return 0;
}
