#include "support/TextFiles.h"

#include "support/Text.h"

#include <fstream>

bool getLine(std::istream& in, std::string& line) {
    line.clear();
    char byte = 0;
    while (in.get(byte) && byte != '\n') {
        if (byte == '\r') {
            if (in.peek() == '\n') {
                in.ignore();
            }
            break;
        }
        line.push_back(byte);
    }
    return !line.empty() || in.good();
}

namespace {

void storePair(const std::string& line, std::size_t separator,
               std::map<std::string, std::string>& out) {
    std::string key;
    std::string value;
    trim(line.substr(0, separator), key);
    trim(line.substr(separator + 1), value);
    out[key] = value;
}

} // namespace

bool createStringMap(const std::string& path, std::map<std::string, std::string>& out,
                     char separator) {
    std::ifstream in(path);
    if (!in) {
        return false;
    }
    std::string line;
    while (getLine(in, line)) {
        if (const std::size_t found = line.find(separator); found != std::string::npos) {
            storePair(line, found, out);
        }
    }
    return true;
}
