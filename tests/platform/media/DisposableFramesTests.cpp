#include <vector>

#include <gtest/gtest.h>

#include "platform/media/DisposableFrames.h"

namespace {

using Bytes = std::vector<uint8_t>;

/// NAL units with 4-byte lengths before each, as MP4 and Matroska store them.
Bytes LengthPrefixed(std::initializer_list<Bytes> units) {
    Bytes out;
    for (const auto& unit : units) {
        uint32_t size = uint32_t(unit.size());
        out.insert(out.end(), {uint8_t(size >> 24), uint8_t(size >> 16), uint8_t(size >> 8), uint8_t(size)});
        out.insert(out.end(), unit.begin(), unit.end());
    }
    return out;
}

Bytes StartCodes(std::initializer_list<Bytes> units) {
    Bytes out;
    for (const auto& unit : units) {
        out.insert(out.end(), {0, 0, 0, 1});
        out.insert(out.end(), unit.begin(), unit.end());
    }
    return out;
}

struct Parameters {
    AVCodecParameters parameters{};
    Bytes extra;
    Parameters(AVCodecID codec, Bytes extradata) : extra(std::move(extradata)) {
        parameters.codec_id = codec;
        parameters.extradata = extra.empty() ? nullptr : extra.data();
        parameters.extradata_size = int(extra.size());
    }
};

// H.264 NAL headers: nal_ref_idc in bits 5-6, type in bits 0-4.
const Bytes kH264NonRefSlice = {0x01, 0x9A};
const Bytes kH264RefSlice = {0x41, 0x9A};
const Bytes kH264Idr = {0x65, 0x88};
const Bytes kH264Sei = {0x06, 0x05};
// HEVC NAL headers: type in bits 1-6 of the first byte, temporal id + 1 in the second.
const Bytes kHevcTrailN = {0x00, 0x01, 0xAF};
const Bytes kHevcTrailR = {0x02, 0x01, 0xAF};
const Bytes kHevcRaslN = {0x10, 0x01, 0xAF};
const Bytes kHevcSei = {0x4E, 0x01, 0x05};

TEST(DisposableFrames, ReadsReferenceMarksOfH264AndHevc) {
    Parameters avc(AV_CODEC_ID_H264, {1, 0x64, 0, 0x1F, 0xFF, 0xE1, 0});
    Parameters annexB(AV_CODEC_ID_H264, {});
    Parameters hevc(AV_CODEC_ID_HEVC, [] {
        Bytes record(23, 0);
        record[0] = 1;
        record[21] = 0x03;
        return record;
    }());
    Parameters mpeg4(AV_CODEC_ID_MPEG4, {});
    struct Case {
        const char* name;
        const Parameters& codec;
        Bytes packet;
        bool disposable;
    };
    const Case cases[] = {
        {"non-reference slice", avc, LengthPrefixed({kH264NonRefSlice}), true},
        {"SEI before a non-reference slice", avc, LengthPrefixed({kH264Sei, kH264NonRefSlice}), true},
        {"reference slice", avc, LengthPrefixed({kH264RefSlice}), false},
        {"IDR", avc, LengthPrefixed({kH264Idr}), false},
        {"mixed slices", avc, LengthPrefixed({kH264NonRefSlice, kH264RefSlice}), false},
        {"no picture at all", avc, LengthPrefixed({kH264Sei}), false},
        {"length past the end", avc, Bytes{0, 0, 0, 9, 0x01, 0x9A}, false},
        {"length cut short", avc, Bytes{0, 0}, false},
        {"empty packet", avc, Bytes{}, false},
        {"start codes, non-reference", annexB, StartCodes({kH264Sei, kH264NonRefSlice}), true},
        {"start codes, reference", annexB, StartCodes({kH264NonRefSlice, kH264RefSlice}), false},
        {"start codes, none found", annexB, Bytes{1, 2, 3, 4}, false},
        {"HEVC TRAIL_N", hevc, LengthPrefixed({kHevcSei, kHevcTrailN}), true},
        {"HEVC RASL_N", hevc, LengthPrefixed({kHevcRaslN}), true},
        {"HEVC TRAIL_R", hevc, LengthPrefixed({kHevcTrailR}), false},
        {"HEVC unit too short", hevc, LengthPrefixed({Bytes{0x00}}), false},
        {"other codecs", mpeg4, StartCodes({kH264NonRefSlice}), false},
    };
    for (const auto& c : cases) {
        DisposableFrames frames(c.codec.parameters);
        EXPECT_EQ(frames.isDisposable(c.packet), c.disposable) << c.name;
    }
}

} // namespace
