#include <zun/structured/MatchWildcard.h>

#include <iostream>

int main() {
    std::cout << std::boolalpha << MatchWildcard("policy*.xml", "Policy-17.XML") << '\n'
              << MatchWildcard("policy*", "policy") << '\n'; // a last "*" wants a character
    return 0;
}
