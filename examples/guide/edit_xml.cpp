#include <zun/structured/AnXml.h>
#include <zun/structured/AnXmlNode.h>

int main() {
    AnXml policy;
    policy.useFileAlways(L"policy.xml", L"Policies", L"version", L"1"); // the file, or a new document
    AnXmlNode root(&policy);
    AnXmlNode product;
    root.setChild(&product, L"Product", L"id", L"A"); // found by its id, or added
    product.setChild(nullptr, L"Setting", L"name", L"Interval", L"", L"300");
    if (root.tryGetChild(&product, L"Product", L"id", L"B"))
        product.remove();
    return policy.writeFile(L"policy.xml", false, true) ? 0 : 1;
}
