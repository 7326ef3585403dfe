#include "host/install/Receipt.h"

#include "host/install/Installation.h"
#include "host/job/InputFile.h"
#include "host/job/JobError.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <unistd.h>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFirstLine = "receipt 1";
constexpr std::size_t kSizeLimit = 64u << 20;

std::string receiptsOf(const fs::path& folder) {
    return receiptsFolder() + "/" + folder.filename().string();
}

std::string receiptPath(const std::string& folder, const std::string& bundleName) {
    return receiptsOf(folder) + "/" + bundleName;
}

// Below the bundle, and nowhere else.
bool isBelow(const fs::path& path) {
    return path.is_relative() && std::none_of(path.begin(), path.end(), [](const fs::path& name) {
               return name.empty() || name == "." || name == "..";
           });
}

// False when the line says nothing that a receipt can say.
bool readLine(const std::string& line, Receipt& receipt) {
    const std::size_t blank = line.find(' ');
    if (blank == std::string::npos) {
        return false;
    }
    const std::string word = line.substr(0, blank);
    const std::string rest = line.substr(blank + 1);
    if (word == "path") {
        receipt.path = rest;
    } else if (word == "domain") {
        receipt.domain = rest;
    } else if (word == "base_dir") {
        receipt.baseDir = rest;
    } else if ((word == "d" || word == "f" || word == "l") && !rest.empty() && isBelow(rest)) {
        receipt.entries.push_back({EntryKind{word[0]}, rest});
    } else {
        return false;
    }
    return true;
}

std::string textOf(const Receipt& receipt) {
    std::string text = std::string(kFirstLine) + "\npath " + receipt.path + "\n";
    if (!receipt.domain.empty()) {
        text += "domain " + receipt.domain + "\nbase_dir " + receipt.baseDir + "\n";
    }
    for (const BundleEntry& entry : receipt.entries) {
        text += std::string(1, static_cast<char>(entry.kind)) + " " + entry.path + "\n";
    }
    return text;
}

} // namespace

std::unique_ptr<PartialFile> makeReceipt(const std::string& folder, const std::string& bundleName,
                                         const Receipt& receipt) {
    makeFolder(receiptsOf(folder));
    const std::string text = textOf(receipt);
    auto file = std::make_unique<PartialFile>(receiptPath(folder, bundleName));
    file->write(text);
    return file;
}

std::optional<Receipt> readReceipt(const std::string& folder, const std::string& bundleName) {
    const std::string path = receiptPath(folder, bundleName);
    std::error_code error;
    if (!fs::exists(fs::symlink_status(path, error))) {
        return std::nullopt;
    }
    const std::vector<std::uint8_t> bytes = readInputFile(path, kSizeLimit);
    std::istringstream lines(std::string(bytes.begin(), bytes.end()));
    std::string line;
    Receipt receipt;
    bool isReceipt = std::getline(lines, line) && line == kFirstLine;
    while (isReceipt && std::getline(lines, line)) {
        isReceipt = readLine(line, receipt);
    }
    if (!isReceipt) {
        throw JobError(path + ": the receipt of what was installed is damaged; install it again");
    }
    return receipt;
}

void removeReceipt(const std::string& folder, const std::string& bundleName) {
    unlink(receiptPath(folder, bundleName).c_str());
    rmdir(receiptsOf(folder).c_str()); // with the last one
    rmdir(receiptsFolder().c_str());
}

std::vector<std::string> receiptedBundles(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(receiptsOf(folder), error)) {
        const std::string name = entry.path().filename();
        if (!isPartialName(name)) { // of an install that was killed
            names.push_back(name);
        }
    }
    return names;
}

} // namespace velnor::host
