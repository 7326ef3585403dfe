// The product record: the block of initialised data that tells one branded product from another.
//
// It is a file format: a tool finds the block in the built plug-in file by its magic words and
// rewrites it there. The instrument's and the view's source file each define their own copy, so the
// file holds the block twice, with identical bytes.
//
//    0  u32       startMagic           0x12345678
//    4  u32       spare0               0
//    8  char[4]   subtype              instrument's subtype code, in text order
//   12  i32       inputChannels        configuration 1, used as i16
//   16  i32       outputChannels       configuration 1, used as i16
//   20  u32       spare1               1
//   24  u32       spare2               1
//   28  u32       spare3               128
//   32  u8[32]    zeroArea0            0
//   64  char[64]  vendor               ASCII, zero-padded, at most 63 characters
//  128  char[64]  product              ASCII, zero-padded, at most 63 characters
//  192  u32       multiOutput          multi-output mode: on when the first byte is 1
//  196  i32       multiInputChannels   configurations 2 and 3, used as i16
//  200  i32       maxOutputChannels    configurations 2 and 3, used as i16; discrete layout tag
//  204  u32       spare4               1
//  208  char[4]   manufacturer         instrument's manufacturer code, in text order
//  212  u8[40]    zeroArea1            0
//  252  u32       endMagic             0x87654321
//
// All words little-endian. Nothing reads the spares, the zero areas and the codes at run time; they
// keep their values because the block is located and rewritten as a whole.
#ifndef VELNOR_BRIDGE_PRODUCTRECORD_H
#define VELNOR_BRIDGE_PRODUCTRECORD_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace velnor {

constexpr std::size_t kProductRecordSize = 256;
constexpr std::size_t kProductNameSize = 64;

struct ProductRecord {
    std::uint32_t startMagic = 0x12345678;
    std::uint32_t spare0 = 0;
    char subtype[4] = {'Q', 'X', 'T', 'A'};
    std::int32_t inputChannels = 0;
    std::int32_t outputChannels = 2;
    std::uint32_t spare1 = 1;
    std::uint32_t spare2 = 1;
    std::uint32_t spare3 = 128;
    std::uint8_t zeroArea0[32] = {};
    char vendor[kProductNameSize] = "Tavo";
    char product[kProductNameSize] = "Tarn 12";
    std::uint32_t multiOutput = 0;
    std::int32_t multiInputChannels = 0;
    std::int32_t maxOutputChannels = 32;
    std::uint32_t spare4 = 1;
    char manufacturer[4] = {'Q', 'X', 'M', 'A'};
    std::uint8_t zeroArea1[40] = {};
    std::uint32_t endMagic = 0x87654321;
};

static_assert(sizeof(ProductRecord) == kProductRecordSize);
static_assert(std::is_trivially_copyable_v<ProductRecord>);
static_assert(std::is_standard_layout_v<ProductRecord>);
static_assert(std::has_unique_object_representations_v<ProductRecord>);
static_assert(offsetof(ProductRecord, startMagic) == 0);
static_assert(offsetof(ProductRecord, spare0) == 4);
static_assert(offsetof(ProductRecord, subtype) == 8);
static_assert(offsetof(ProductRecord, inputChannels) == 12);
static_assert(offsetof(ProductRecord, outputChannels) == 16);
static_assert(offsetof(ProductRecord, spare1) == 20);
static_assert(offsetof(ProductRecord, spare2) == 24);
static_assert(offsetof(ProductRecord, spare3) == 28);
static_assert(offsetof(ProductRecord, zeroArea0) == 32);
static_assert(offsetof(ProductRecord, vendor) == 64);
static_assert(offsetof(ProductRecord, product) == 128);
static_assert(offsetof(ProductRecord, multiOutput) == 192);
static_assert(offsetof(ProductRecord, multiInputChannels) == 196);
static_assert(offsetof(ProductRecord, maxOutputChannels) == 200);
static_assert(offsetof(ProductRecord, spare4) == 204);
static_assert(offsetof(ProductRecord, manufacturer) == 208);
static_assert(offsetof(ProductRecord, zeroArea1) == 212);
static_assert(offsetof(ProductRecord, endMagic) == 252);

// Stands before each definition of a record. The record lives in writable data, where no linker
// folds two equal objects into one, and is kept although only builtFile reads it:
//
//     namespace {
//     VELNOR_PRODUCT_RECORD velnor::ProductRecord conf;
//     }
#define VELNOR_PRODUCT_RECORD [[gnu::used]] constinit

// The record as the built file holds it. Every read goes through here: the compiler cannot see
// where the pointer comes from, so it cannot put the values that it compiled in the place of those
// that a tool wrote into the file. Thread any, concurrent, nonblocking.
inline const ProductRecord& builtFile(const ProductRecord& conf) {
    const ProductRecord* record = &conf;
    __asm__ volatile("" : "+r"(record));
    return *record;
}

// The text of a vendor or product field.
inline std::string recordText(const char (&field)[kProductNameSize]) {
    return std::string(field, strnlen(field, kProductNameSize));
}

// No other value of the byte turns the mode on.
inline bool isMultiOutput(const ProductRecord& record) {
    return (record.multiOutput & 0xFF) == 1;
}

} // namespace velnor

#endif
