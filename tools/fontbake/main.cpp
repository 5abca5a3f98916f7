// Makes a .fnt file, which the engine draws text from, of a TrueType face.

#include "gameengine/gui/draw2D/latin1.h"
#include "tamradeps/io/fileSystem.h"
#include "tools/fontbake/bake.h"

#include <cstdio>
#include <iterator>

#include <CLI/CLI.hpp>

namespace
{
int Fail(const std::string& name, const std::string& why)
{
    std::fprintf(stderr, "fontbake: %s: %s\n", name.c_str(), why.c_str());
    return 1;
}

int Bake(const std::string& faceName, const std::string& outName, const BakeOptions& options)
{
    std::vector<std::byte> face;
    if (!GetFileSystem().FileIn(faceName, face))
        return 1;
    std::string fault;
    std::optional<gui::FontBody> body = BakeFont(face, options, fault);
    if (!body)
        return Fail(faceName, fault);
    const std::size_t count = body->glyphs.size();
    const int width = body->bitmapWidth;
    const int height = body->bitmapHeight;
    gui::Font font;
    std::string text;
    if (!font.Create(std::move(*body)) || !font.ConvertFontToAscii(text) ||
        !GetFileSystem().FileReplace(outName, text.data(), text.size()))
        return 1;
    std::printf("%s: %zu characters, lines of %d pixels, bitmap %d x %d\n", outName.c_str(), count, font.GetFontSize(),
                width, height);
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Makes a .fnt file of a TrueType face.");
    std::string faceName;
    std::string outName;
    std::string charset = "latin1";
    BakeOptions options;
    app.add_option("face", faceName, "the face, from a source that you trust")->required();
    app.add_option("out", outName, "the .fnt file to write")->required();
    app.add_option("--size", options.size, "pixels of the em, rounded for sharp letters")
        ->check(CLI::Range(4.0, 200.0))
        ->capture_default_str();
    app.add_option("--line-height", options.lineHeight, "pixels from line to line; 0 for that of the face")
        ->check(CLI::Range(0, 400))
        ->capture_default_str();
    app.add_option("--padding", options.padding, "clear pixels around each character")
        ->check(CLI::Range(0, 16))
        ->capture_default_str();
    app.add_option("--charset", charset, "\"ascii\", \"latin1\", or the characters themselves")->capture_default_str();
    app.set_version_flag("--version", "fontbake " TAMRA_VERSION);
    CLI11_PARSE(app, argc, argv);
    if (charset == "ascii")
        options.charset = GetAsciiCharset();
    else if (charset == "latin1")
        options.charset = GetLatin1Charset();
    else
        options.charset = gui::ToLatin1(charset);
    return Bake(faceName, outName, options);
}
