#include <simdjson.h>

#include <iostream>
#include <string>

// Whether each line of standard input is one JSON object in valid UTF-8, as another parser than the
// one that wrote it sees it. Prints the number of lines.
int main() {
    simdjson::dom::parser parser;
    int nLines = 0;
    std::string strLine;
    while (std::getline(std::cin, strLine)) {
        ++nLines;
        simdjson::dom::object object;
        const simdjson::error_code error = parser.parse(strLine).get(object);
        if (error != simdjson::SUCCESS) {
            std::cerr << "line " << nLines << ": " << simdjson::error_message(error) << ": "
                      << strLine << "\n";
            return 1;
        }
    }
    std::cout << nLines << "\n";
    return 0;
}
