#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <iostream>
#include <string>

// Whether each line of standard input is one JSON object in valid UTF-8, as another parser than the
// one that wrote it sees it. Prints the number of lines.
int main() {
    int nLines = 0;
    std::string strLine;
    while (std::getline(std::cin, strLine)) {
        ++nLines;
        rapidjson::StringStream text(strLine.c_str());
        rapidjson::Reader reader;
        rapidjson::BaseReaderHandler<> handler;
        const auto result = reader.Parse<rapidjson::kParseValidateEncodingFlag>(text, handler);
        if (result.IsError() || strLine.front() != '{') {
            std::cerr << "line " << nLines << ": "
                      << (result.IsError() ? rapidjson::GetParseError_En(result.Code())
                                           : "no object")
                      << ": " << strLine << "\n";
            return 1;
        }
    }
    std::cout << nLines << "\n";
    return 0;
}
