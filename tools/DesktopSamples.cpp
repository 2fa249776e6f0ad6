// make_examples desktop: documents with real JPEG and PNG pictures (encoded by TurboJPEG and
// libspng) for the desktop tests, the decode fuzz seeds and the benchmarks. Built with the
// thumbnailer, whose size rule gives the expected thumbnail sizes.
#include "tools/DesktopSamples.h"

#include "tests/support/DocumentBuilder.h"
#include "tests/support/PictureSamples.h"
#include "thumbnailer/ThumbnailRender.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>

using qmtest::DocumentBuilder;
using qmtest::ThumbnailRecord;
using samples::Bytes;
using samples::Picture;

namespace {

bool writeFile(std::string const& path, Bytes const& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<char const*>(bytes.data()), std::streamsize(bytes.size()));
    return bool(out);
}

Bytes document(int type, Picture const& picture, Bytes const& stored)
{
    DocumentBuilder doc;
    doc.documentID().version(0x0200).thumbnail(
        ThumbnailRecord().description(0, picture.width, picture.height).inlinePicture(type, stored));
    doc.endTag();
    return doc.bytes();
}

Bytes documentWithoutPicture()
{
    DocumentBuilder doc;
    doc.documentID().version(0x0200).record(20, Bytes{1, 2, 3, 4}).endTag();
    return doc.bytes();
}

struct Sample {
    char const* name;
    int type;  // 2 JPEG, 3 PNG, 0 none
    int width, height;
    bool alpha;
};

int writeShapes(std::string const& dir)
{
    Sample const shapes[] = {
        {"photo 640x480.qmd", 2, 640, 480, false},
        {"Bild \xC3\xBCn\xC3\xAF\x63\xC3\xB6\x64\xC3\xA9 300x900.qmd", 3, 300, 900, true},
        {"wide panorama 2000x100.qmd", 3, 2000, 100, false},
        {"small 100x60.qmd", 2, 100, 60, false},
        {"as tall as large 200x256.qmd", 2, 200, 256, false},
        {"no picture.qmd", 0, 0, 0, false},
    };
    for (Sample const& s : shapes) {
        Bytes bytes;
        if (s.type == 0) {
            bytes = documentWithoutPicture();
        } else {
            Picture p = samples::testPattern(s.width, s.height, s.alpha);
            bytes = document(s.type, p, s.type == 2 ? samples::encodeJpeg(p) : samples::encodePng(p, s.alpha));
        }
        if (!writeFile(dir + "/" + s.name, bytes))
            return 1;
        std::printf("%s", s.name);
        for (int box : {128, 256, 512, 1024}) {
            int w = 0, h = 0;
            if (s.type)
                thumbnailSizeFor(uint32_t(s.width), uint32_t(s.height), box, &w, &h);
            std::printf("\t%d\t%d", w, h);
        }
        std::printf("\n");
    }
    return 0;
}

int writeCorpus(std::string const& dir)
{
    bool ok = true;
    for (auto const& [name, bytes] : decodeSeeds())
        ok = writeFile(dir + "/" + name, bytes) && ok;
    return ok ? 0 : 1;
}

// A chunk with a correct CRC, inserted into a PNG right after its IHDR (byte 33).
Bytes withChunkAfterHeader(Bytes png, char const* type, Bytes const& data)
{
    Bytes chunk(8);
    samples::putBig32(&chunk, 0, uint32_t(data.size()));
    std::memcpy(&chunk[4], type, 4);
    chunk.insert(chunk.end(), data.begin(), data.end());
    uint32_t crc = samples::crc32(chunk.data() + 4, chunk.size() - 4);
    chunk.resize(chunk.size() + 4);
    samples::putBig32(&chunk, chunk.size() - 4, crc);
    png.insert(png.begin() + 33, chunk.begin(), chunk.end());
    return png;
}

int writeHostile(std::string const& dir)
{
    Picture p = samples::photoLike(320, 240, false, 9);
    Bytes jpeg = samples::encodeJpeg(p);
    Bytes png = samples::encodePng(p, false);

    // Headers claiming 60000 x 60000 pixels (the PNG's checksum right).
    Bytes hugePng = samples::withPngSize(png, 60000, 60000);
    Bytes hugeJpeg = samples::withJpegSize(jpeg, 60000, 60000);
    // A JPEG bomb: a frame of 8000 x 8000 (inside the pixel limit) over a few hundred bytes of data.
    Bytes bomb = samples::withJpegSize(jpeg, 8000, 8000);
    bomb.resize(std::min(bomb.size(), samples::findMarker(bomb, 0xDA) + 400));
    // A PNG with 16 MiB of zTXt before its picture data.
    Bytes ztxt = {'C', 'o', 'm', 'm', 'e', 'n', 't', 0, 0};
    std::mt19937 rng(5);
    ztxt.resize(ztxt.size() + (size_t(16) << 20));
    for (size_t i = 9; i < ztxt.size(); ++i)
        ztxt[i] = uint8_t(rng());
    Bytes bigText = withChunkAfterHeader(png, "zTXt", ztxt);
    // Cut in half, and with bits flipped (in the PNG's data, which its checksum catches, and in
    // the JPEG's Huffman table marker).
    Bytes cutJpeg(jpeg.begin(), jpeg.begin() + long(jpeg.size() / 2));
    Bytes cutPng(png.begin(), png.begin() + long(png.size() / 2));
    Bytes flippedPng = png;
    flippedPng[flippedPng.size() / 2] ^= 0x24;
    Bytes flippedJpeg = jpeg;
    flippedJpeg[samples::findMarker(flippedJpeg, 0xC4) + 1] ^= 0x08;

    struct {
        char const* name;
        int type;
        Bytes const& bytes;
    } const cases[] = {
        {"huge-png.qmd", 3, hugePng},      {"huge-jpeg.qmd", 2, hugeJpeg},     {"jpeg-bomb.qmd", 2, bomb},
        {"huge-ztxt.qmd", 3, bigText},     {"cut-jpeg.qmd", 2, cutJpeg},       {"cut-png.qmd", 3, cutPng},
        {"flipped-png.qmd", 3, flippedPng}, {"flipped-jpeg.qmd", 2, flippedJpeg},
    };
    for (auto const& c : cases) {
        if (!writeFile(dir + "/" + c.name, document(c.type, p, c.bytes)))
            return 1;
        std::printf("%s\n", c.name);
    }
    return 0;
}

int writeBench(std::string const& dir)
{
    struct Size {
        int w, h;
    } const sizes[] = {{512, 512}, {1024, 768}, {2048, 2048}, {4096, 4096}};
    for (Size s : sizes) {
        std::string base = dir + "/" + std::to_string(s.w) + "x" + std::to_string(s.h);
        Picture rgb = samples::photoLike(s.w, s.h, false, uint32_t(s.w));
        Picture rgba = samples::photoLike(s.w, s.h, true, uint32_t(s.w) + 1);
        Bytes jpeg = samples::encodeJpeg(rgb, 90, TJSAMP_420);
        Bytes pngRgb = samples::encodePng(rgb, false, 6);
        Bytes pngRgba = samples::encodePng(rgba, true, 6);
        bool ok = writeFile(base + "-jpeg.jpg", jpeg) && writeFile(base + "-jpeg.qmd", document(2, rgb, jpeg)) &&
                  writeFile(base + "-png-rgb.png", pngRgb) && writeFile(base + "-png-rgb.qmd", document(3, rgb, pngRgb)) &&
                  writeFile(base + "-png-rgba.png", pngRgba) &&
                  writeFile(base + "-png-rgba.qmd", document(3, rgba, pngRgba));
        if (!ok)
            return 1;
    }
    return 0;
}

}  // namespace

std::map<std::string, std::vector<uint8_t>> decodeSeeds()
{
    std::map<std::string, Bytes> seeds;
    int n = 0;
    // The fuzz target reads the thumbnail box from a byte after the document.
    auto put = [&](Bytes b) {
        b.push_back(uint8_t(n & 3));
        seeds["seed-" + std::to_string(n++) + ".qmd"] = std::move(b);
    };
    Picture small = samples::testPattern(40, 30, true);
    put(document(2, small, samples::encodeJpeg(small, 80, TJSAMP_420)));
    put(document(2, small, samples::encodeJpeg(small, 95, TJSAMP_444)));
    put(document(3, small, samples::encodePng(small, true)));
    put(document(3, small, samples::encodePng(small, false)));
    put(document(3, small, samples::encodePng(small, true, 6, true)));
    Picture tall = samples::photoLike(9, 300, false, 4);
    put(document(2, tall, samples::encodeJpeg(tall)));
    put(document(3, tall, samples::encodePng(tall, false, 1)));
    put(documentWithoutPicture());
    return seeds;
}

int writeDesktopSamples(int argc, char** argv)
{
    if (argc == 1)
        return writeShapes(argv[0]);
    if (argc == 2 && std::strcmp(argv[0], "--corpus") == 0)
        return writeCorpus(argv[1]);
    if (argc == 2 && std::strcmp(argv[0], "--hostile") == 0)
        return writeHostile(argv[1]);
    if (argc == 2 && std::strcmp(argv[0], "--bench") == 0)
        return writeBench(argv[1]);
    std::fprintf(stderr, "usage: make_examples desktop [--corpus | --hostile | --bench] DIR\n");
    return 2;
}
