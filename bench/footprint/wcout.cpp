#include <iostream>

/// Writes one line to standard output.
int main() {
    std::wcout << L"The agent starts" << std::endl;
}
