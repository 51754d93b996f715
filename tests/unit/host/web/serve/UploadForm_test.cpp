// Firmware uploads: what is kept of a form, and what is wrong with one.
#include "host/web/serve/UploadForm.h"

#include <gtest/gtest.h>

#include <array>
#include <unistd.h>

namespace {

using namespace bmhost;

std::string Part(const std::string& name, const std::string& file, const std::string& bytes) {
    return "--b\r\nContent-Disposition: form-data; name=\"" + name + "\"; filename=\"" + file + "\"\r\n\r\n" + bytes +
           "\r\n";
}

const std::string End = "--b--\r\n";

/// The status of the complaint about a form; 0 for a good one.
unsigned ComplaintAbout(const std::string& body) {
    UploadForm form("/tmp", "b", 1000);
    form.Write(body.data(), body.size());
    const auto complaint = form.Complaint();
    return complaint ? complaint->m_status : 0;
}

TEST(UploadForm, HasItsParametersAndItsImage) {
    const std::string body = Part("UpdateParameters", "", R"({"Targets":[]})") + Part("OemThings", "x", "ignored") +
                             Part("UpdateFile", "C:\\images\\../amc.bin", "image") + End;
    UploadForm form("/tmp", "b", 5);
    form.Write(body.data(), body.size());
    EXPECT_EQ(form.Complaint(), std::nullopt);
    EXPECT_EQ(form.Parameters(), R"({"Targets":[]})");
    EXPECT_EQ(form.ImageName(), "amc.bin");
    const auto image = form.TakeImage();
    std::array<char, 16> bytes{};
    const ssize_t size = read(image->Descriptor(), bytes.data(), bytes.size());
    EXPECT_EQ(std::string(bytes.data(), static_cast<std::size_t>(size)), "image");
}

TEST(UploadForm, SaysWhatIsWrong) {
    const std::string file = Part("UpdateFile", "a", "image");
    EXPECT_EQ(ComplaintAbout(file + End), 0U) << "targets are for somebody else to miss";
    EXPECT_EQ(ComplaintAbout(file), 400U) << "cut";
    EXPECT_EQ(ComplaintAbout(Part("UpdateParameters", "", "{}") + End), 400U) << "no image";
    EXPECT_EQ(ComplaintAbout(Part("UpdateFile", "a", "") + End), 400U) << "an empty one";
    EXPECT_EQ(ComplaintAbout(file + file + End), 400U) << "two images";
    EXPECT_EQ(ComplaintAbout(Part("UpdateFile", "a", std::string(1001, 'x')) + End), 413U);
    EXPECT_EQ(ComplaintAbout(Part("UpdateParameters", "", std::string(UploadForm::MostBesides + 1, ' ')) + file + End),
              413U);
}

TEST(UploadForm, AnImageAsBase64IsTheImage) {
    const std::string body = "--b\r\nContent-Disposition: form-data; name=\"UpdateFile\"; filename=\"a\"\r\n"
                             "Content-Transfer-Encoding: base64\r\n\r\nAAH+/w==\r\n" +
                             End;
    UploadForm form("/tmp", "b", 4);
    form.Write(body.data(), body.size());
    EXPECT_EQ(form.Complaint(), std::nullopt);
    std::array<char, 16> bytes{};
    const ssize_t size = read(form.TakeImage()->Descriptor(), bytes.data(), bytes.size());
    EXPECT_EQ(std::string(bytes.data(), static_cast<std::size_t>(size)), std::string("\0\1\xfe\xff", 4));
}

TEST(UploadForm, ANameIsOneOfAFile) {
    for (const auto& [given, name] : {std::pair<std::string, std::string>{"", "image"},
                                      {"/", "image"},
                                      {"..", "image"},
                                      {"a\tb\x7f.bin", "ab.bin"},
                                      {std::string(300, 'x'), std::string(255, 'x')}}) {
        const std::string body = Part("UpdateFile", given, "x") + End;
        UploadForm form("/tmp", "b", 5);
        form.Write(body.data(), body.size());
        EXPECT_EQ(form.ImageName(), name) << given;
    }
}

TEST(UploadForm, OnlySoManyAreOnTheirWay) {
    const UploadForm first("/tmp", "b", 1);
    const UploadForm second("/tmp", "b", 1);
    EXPECT_THROW(UploadForm("/tmp", "b", 1), Refusal);
}

} // namespace
