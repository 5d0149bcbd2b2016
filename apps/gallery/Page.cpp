#include "Page.h"

#include <filesystem>
#include <fstream>

namespace kelvara::gallery {

std::string HtmlEscape(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

std::string PageHtml(const std::vector<Scene>& scenes) {
    std::string html =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<title>Kelvara gallery</title>\n<style>\n"
        "body { font-family: sans-serif; margin: 2em; max-width: 80em; color: #222; }\n"
        "section { margin-bottom: 3em; }\n"
        "img { display: block; margin: 0.5em 0; image-rendering: pixelated; }\n"
        ".input { color: #555; }\n</style>\n</head>\n<body>\n"
        "<h1>Kelvara gallery</h1>\n"
        "<p>Real controls on real forms, driven by scripted input on the headless desktop. "
        "Each picture says what it shows and which input made it.</p>\n";
    for (const Scene& s : scenes) {
        html += "<section>\n<h2>" + HtmlEscape(s.title) + "</h2>\n<img src=\"" +
                HtmlEscape(s.file) + "\" alt=\"" + HtmlEscape(s.title) + "\">\n<p>" +
                HtmlEscape(s.shows) + "</p>\n<p class=\"input\"><b>Input:</b> " +
                HtmlEscape(s.input) + "</p>\n</section>\n";
    }
    html += "</body>\n</html>\n";
    return html;
}

bool RunGallery(Stage& stage, const std::string& out, std::ostream& log) {
    std::error_code error;
    std::filesystem::create_directories(out, error);
    if (error) {
        log << "cannot make " << out << ": " << error.message() << "\n";
        return false;
    }
    bool allWritten = true;
    std::vector<Scene> written;
    for (Scene& scene : GalleryScenes()) {
        API32bppDIB picture;
        const std::string file = (std::filesystem::path(out) / scene.file).string();
        if (!scene.make(stage, picture)) {
            log << scene.file << ": the scene could not be made\n";
            allWritten = false;
            continue;
        }
        if (!picture.SaveToFile_PNG(file)) {
            log << file << ": cannot write\n";
            allWritten = false;
            continue;
        }
        log << file << " (" << picture.Width() << " x " << picture.Height() << ")\n";
        written.push_back(std::move(scene));
    }
    const std::string index = (std::filesystem::path(out) / "index.html").string();
    std::ofstream page(index, std::ios::binary);
    page << PageHtml(written);
    page.close();
    if (!page) {
        log << index << ": cannot write\n";
        return false;
    }
    return allWritten;
}

}  // namespace kelvara::gallery
