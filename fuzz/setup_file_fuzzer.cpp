// The setup check on any file content, where one answer must go with the next, and on well-formed
// files of which it is known what must be said.
#include "fuzz/FuzzCheck.h"
#include "fuzz/MemoryFile.h"
#include "support/SetupFile.h"

#include <fuzzer/FuzzedDataProvider.h>

namespace {

const std::string kVendor = "Tavo";
const std::string kProduct = "Tarn 12";
const std::string kWrongVendor = "incorrect vendor in file ";
const std::string kWrongProduct = "incorrect product in file ";
const std::string kNotLoaded = "Could not load file";
const std::string kNoRoot = "Could not find OrmoSetup element";
const std::string kGood;

// What the check says, kGood included, of the file that holds the content.
std::string verdict(const std::string& vendor, const std::string& product,
                    const std::string& content) {
    static const velnor::fuzz::MemoryFile kFile;
    std::string message = "before";
    const bool good = velnor::verifyOrmoSetup(vendor, product, kFile.holding(content), message);
    FUZZ_CHECK(good == (message == "before"));
    return good ? kGood : message;
}

void checkAnyFile(const std::string& content) {
    const std::string answer = verdict(kVendor, kProduct, content);
    const std::string otherAnswer = verdict(kVendor + "2", kProduct, content);
    if (answer == kNotLoaded || answer == kNoRoot) {
        FUZZ_CHECK(otherAnswer == answer);
        return;
    }
    FUZZ_CHECK(content.find("<OrmoSetup") != std::string::npos);
    if (answer == kGood) { // so every vendor in it is the one
        FUZZ_CHECK(otherAnswer == kGood || otherAnswer == kWrongVendor + kVendor);
    } else if (answer.starts_with(kWrongVendor)) {
        FUZZ_CHECK(verdict(answer.substr(kWrongVendor.size()), kProduct, content) != answer);
    } else {
        FUZZ_CHECK(answer.starts_with(kWrongProduct));
        FUZZ_CHECK(verdict(kVendor, answer.substr(kWrongProduct.size()), content) != answer);
    }
}

// Writes a file together with what must be said of it.
class Maker {
public:
    explicit Maker(FuzzedDataProvider& input) : mInput(input) {
        mFile = pick({"", "<?xml version='1.0' encoding='UTF-8'?>\n", "\xEF\xBB\xBF",
                      "<!-- <OrmoSetup> -->\n"});
        const bool hasRoot = mInput.ConsumeIntegralInRange(0, 7) != 7;
        const std::string root = hasRoot ? "OrmoSetup" : pick({"Other", "ormosetup", "OrmoSetup2"});
        mFile += "<" + root + space() + ">";
        for (int i = mInput.ConsumeIntegralInRange(0, 8); i > 0; --i) {
            addChild();
        }
        mFile += "</" + root + ">\n";
        mAnswer = hasRoot ? mAnswer : kNoRoot;
    }

    const std::string& file() const { return mFile; }
    const std::string& answer() const { return mAnswer; }

private:
    std::string pick(std::initializer_list<std::string> texts) {
        return texts.begin()[mInput.ConsumeIntegralInRange<std::size_t>(0, texts.size() - 1)];
    }
    std::string space() { return pick({"", " ", "\n\t"}); }

    std::string value(const std::string& expected) {
        if (mInput.ConsumeBool()) {
            return expected;
        }
        std::string any = mInput.ConsumeRandomLengthString(16);
        for (char& c : any) {
            c = static_cast<char>(' ' + static_cast<unsigned char>(c) % ('~' - ' ' + 1));
        }
        return pick({any, any + "\xC3\xA9", expected + " ", expected.substr(1), "", "tavo"});
    }

    // As an attribute holds it.
    std::string written(const std::string& text) {
        const std::string quote = pick({"'", "\""});
        std::string out;
        for (const char c : text) {
            if (std::string("<>&'\"").find(c) != std::string::npos || (c == 'T' && quote == "'")) {
                out += "&#" + std::to_string(c) + ";";
            } else {
                out += c;
            }
        }
        return quote + out + quote;
    }

    std::string property(const std::string& name, const std::string& content) {
        const std::string attributes[] = {"name=" + written(name), "value=" + written(content)};
        const bool turned = mInput.ConsumeBool();
        return "<Property " + attributes[turned] + " " + space() + attributes[!turned] + space() +
               pick({"/>", "></Property>", ">vendor<a/></Property>"});
    }

    void addChild() {
        const std::string wrong = property(pick({"vendor", "product"}), "wrong");
        switch (mInput.ConsumeIntegralInRange(0, 7)) {
        case 0:
            mFile += pick({"<!-- " + wrong + " -->", "<![CDATA[ " + wrong + " ]]>"});
            return;
        case 1:
            mFile += "<Other>" + wrong + "</Other>";
            return;
        case 2:
            mFile += pick({"Property", "<Property name='vendor'/>", "<Property value='wrong'/>",
                           "<property name='vendor' value='wrong'/>", "&lt;a&gt;", "\r\n"});
            return;
        default:
            addProperty();
        }
    }

    void addProperty() {
        const std::string name = pick({"vendor", "product", "version", "Vendor", " vendor"});
        const std::string& expected = name == "product" ? kProduct : kVendor;
        const std::string content = value(expected);
        mFile += property(name, content);
        if (content != expected && (name == "vendor" || name == "product")) {
            mAnswer = (name == "vendor" ? kWrongVendor : kWrongProduct) + content;
        }
    }

    FuzzedDataProvider& mInput;
    std::string mFile;
    std::string mAnswer = kGood;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    checkAnyFile(std::string(reinterpret_cast<const char*>(data), size));
    FuzzedDataProvider input(data, size);
    const Maker maker(input);
    checkAnyFile(maker.file());
    FUZZ_CHECK(verdict(kVendor, kProduct, maker.file()) == maker.answer());
    return 0;
}
