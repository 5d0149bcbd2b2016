#include "kelvara/image/gif/detail/GifLzw.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "GifTestSupport.h"
#include "GiflibOracle.h"

namespace kelvara::detail {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes Decode(const Bytes& blocks, int minCodeSize, size_t count, LzwError* error = nullptr) {
    Bytes out(count, 0xEE);
    const auto result = LzwDecode(blocks, minCodeSize, out);
    if (!result) {
        if (error != nullptr) {
            *error = result.Error();
        }
        return {};
    }
    return out;
}

// Pixel runs of random lengths with random values below 2^bits: long runs
// make long strings, short ones fill the table quickly.
Bytes Runs(size_t count, int bits, uint32_t seed) {
    std::mt19937 random(seed);
    Bytes out;
    while (out.size() < count) {
        const uint8_t value = static_cast<uint8_t>(random() & ((1u << bits) - 1));
        const size_t run = random() % 3 == 0 ? random() % 300 : 1 + random() % 3;
        out.insert(out.end(), std::min(run, count - out.size()), value);
    }
    return out;
}

struct RoundTripCase {
    size_t count;
    int bits;
    uint32_t seed;
};

class LzwRoundTrip : public ::testing::TestWithParam<RoundTripCase> {};

// Our encoder against our decoder and against giflib's decoder (through a
// one-row file), so that neither can drift with the other.
TEST_P(LzwRoundTrip, EncoderOutputDecodesToTheSamePixels) {
    const auto [count, bits, seed] = GetParam();
    const Bytes pixels = Runs(count, bits, seed);
    Bytes blocks;
    LzwEncode(pixels, bits, blocks);
    EXPECT_EQ(Decode(blocks, bits, count), pixels);

    Bytes file = test::GifBuilder("GIF89a", 0, 0, std::vector<uint32_t>(256, 0)).bytes;
    const int32_t width = static_cast<int32_t>(count);
    file.insert(file.end(),
                {0x2C, 0, 0, 0, 0, static_cast<uint8_t>(width), static_cast<uint8_t>(width >> 8), 1,
                 0, 0, static_cast<uint8_t>(bits)});
    file.insert(file.end(), blocks.begin(), blocks.end());
    file.push_back(0x3B);
    const auto theirs = test::GiflibFirstFrame(file);
    ASSERT_TRUE(theirs);
    EXPECT_EQ(theirs->indices, pixels);
}

INSTANTIATE_TEST_SUITE_P(Pixels, LzwRoundTrip,
                         ::testing::Values(RoundTripCase{1, 2, 1}, RoundTripCase{2, 2, 2},
                                           RoundTripCase{7, 3, 3}, RoundTripCase{300, 2, 4},
                                           RoundTripCase{4093, 4, 5}, RoundTripCase{5000, 8, 6},
                                           RoundTripCase{65535, 8, 7}, RoundTripCase{65535, 5, 8},
                                           RoundTripCase{65535, 2, 9},
                                           RoundTripCase{40000, 7, 10}));

// One run of a single value gives the longest strings an encoder can make:
// each code one pixel longer than the one before.
TEST(GifLzw, OneLongRunRoundTripsAndStaysWithinTheSizeBound) {
    const Bytes pixels(1'000'000, 3);
    Bytes blocks;
    LzwEncode(pixels, 2, blocks);
    EXPECT_EQ(Decode(blocks, 2, pixels.size()), pixels);
    uint64_t payload = 0;
    for (size_t at = 0; blocks[at] != 0; at += blocks[at] + 1u) {
        payload += blocks[at];
    }
    EXPECT_GE(LzwMaxPixels(payload, 2), pixels.size());
}

// Codes sent as plain pixel values, with a clear code every so often or
// never: without one the table fills at 4096 and stays full, codes staying
// 12 bits wide (a "deferred clear"). giflib decodes the same streams.
TEST(GifLzw, LiteralStreamsWithAndWithoutClearCodesDecodeAsGiflibDoes) {
    const Bytes pixels = Runs(12000, 8, 21);
    for (const size_t clearEvery : {size_t{0}, size_t{254}, size_t{4093}, size_t{5000}}) {
        SCOPED_TRACE(clearEvery);
        const Bytes blocks = test::SubBlocks(test::LiteralCodes(pixels, 8, clearEvery));
        EXPECT_EQ(Decode(blocks, 8, pixels.size()), pixels);

        Bytes file = test::GifBuilder("GIF89a", 120, 100, std::vector<uint32_t>(256, 0)).bytes;
        file.insert(file.end(), {0x2C, 0, 0, 0, 0, 120, 0, 100, 0, 0, 8});
        file.insert(file.end(), blocks.begin(), blocks.end());
        file.push_back(0x3B);
        const auto theirs = test::GiflibFirstFrame(file);
        ASSERT_TRUE(theirs);
        EXPECT_EQ(theirs->indices, pixels);
    }
}

struct FaultCase {
    const char* name;
    std::vector<uint32_t> codes;  // 3-bit codes, minimum code size 2
    size_t pixels;
    LzwError error;
};

class LzwFault : public ::testing::TestWithParam<FaultCase> {};

TEST_P(LzwFault, FailsWithItsError) {
    const FaultCase& c = GetParam();
    test::BitPacker packer;
    for (const uint32_t code : c.codes) {
        packer.Put(code, 3);
    }
    LzwError error{};
    EXPECT_TRUE(Decode(test::SubBlocks(packer.Finish()), 2, c.pixels, &error).empty());
    EXPECT_EQ(error, c.error);
}

INSTANTIATE_TEST_SUITE_P(
    Streams, LzwFault,
    ::testing::Values(
        FaultCase{"EndCodeBeforeTheLastPixel", {4, 1, 2, 5}, 3, LzwError::DataEndedEarly},
        FaultCase{"DataEndsBeforeTheLastPixel", {4, 1, 2}, 8, LzwError::DataEndedEarly},
        // After a clear there is no previous string to build code 6 from.
        FaultCase{"NextFreeCodeFirst", {4, 6}, 2, LzwError::BadCode},
        FaultCase{"CodeAboveTheNextFree", {4, 1, 7}, 3, LzwError::BadCode},
        FaultCase{"NextFreeCodeStraightAfterAClear", {4, 1, 2, 4, 6}, 5, LzwError::BadCode}),
    [](const ::testing::TestParamInfo<FaultCase>& info) { return std::string(info.param.name); });

TEST(GifLzw, CodeSizesOutsideOneToEightFail) {
    const Bytes blocks = test::SubBlocks(Bytes(64, 0));
    for (const int size : {0, 9, 12, 255}) {
        LzwError error{};
        EXPECT_TRUE(Decode(blocks, size, 4, &error).empty()) << size;
        EXPECT_EQ(error, LzwError::BadCodeSize) << size;
    }
}

}  // namespace
}  // namespace kelvara::detail
