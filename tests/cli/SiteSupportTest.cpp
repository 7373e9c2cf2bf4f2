// What the web catalogue's command builds on: the worker pool, files written beside their
// target, pictures read and written, and Graphviz run as a child process.

#include "GraphvizRenderer.h"
#include "OutputFile.h"
#include "PictureFile.h"
#include "WorkerPool.h"

#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <vector>

namespace torvex::cli {
namespace {

namespace fs = std::filesystem;

const std::string kIcons = std::string(TORVEX_EXAMPLES_DIR) + "/icons";

fs::path Scratch(const std::string& name) {
    const fs::path dir = fs::temp_directory_path() / ("torvex-site-test-" + name);
    fs::remove_all(dir);
    fs::create_directories(dir);
    return dir;
}

std::string Read(const fs::path& path) {
    std::string bytes;
    platform::ReadFileBytes(platform::FromUtf8(path.string()), bytes);
    return bytes;
}

TEST(WorkerPool, EveryTaskRunsOnceWhateverTheThreads) {
    for (size_t threads : {1u, 3u, 64u}) {
        std::vector<std::atomic<int>> runs(500);
        WorkerPool::Run(threads, runs.size(), [&](size_t i) { runs[i].fetch_add(1); });
        for (size_t i = 0; i < runs.size(); ++i)
            ASSERT_EQ(runs[i].load(), 1) << "task " << i << " on " << threads << " threads";
    }
    bool ran = false;
    WorkerPool::Run(4, 0, [&](size_t) { ran = true; });
    EXPECT_FALSE(ran);
}

TEST(OutputFile, TargetChangesOnlyWhenCommitted) {
    const fs::path dir = Scratch("output");
    const fs::path target = dir / "page.html";
    platform::WriteFileBytes(platform::FromUtf8(target.string()), "old");
    {
        OutputFile file(target.string());
        ASSERT_TRUE(file.IsOpen());
        file.Stream() << "half";
    } // given up
    EXPECT_EQ(Read(target), "old");
    EXPECT_FALSE(fs::exists(target.string() + ".part"));
    {
        OutputFile file(target.string());
        file.Stream() << "new";
        EXPECT_TRUE(file.Commit()) << file.Error();
    }
    EXPECT_EQ(Read(target), "new");

    OutputFile nowhere((dir / "missing" / "page.html").string());
    EXPECT_FALSE(nowhere.IsOpen());
    EXPECT_FALSE(nowhere.Commit());
    EXPECT_NE(nowhere.Error().find("cannot write"), std::string::npos);
    fs::remove_all(dir);
}

TEST(PictureFile, IconBitmapAndPngFilesGiveTheirImages) {
    std::vector<HICON> pictures;
    std::string error;
    ASSERT_TRUE(PictureFile::Read(kIcons + "/torvex.ico", pictures, error)) << error;
    ASSERT_EQ(pictures.size(), 5u);
    EXPECT_EQ(pictures[4]->width, 48u);
    EXPECT_EQ(pictures[4]->bgra.size(), 48u * 48u * 4u);

    pictures.clear();
    ASSERT_TRUE(PictureFile::Read(kIcons + "/png.ico", pictures, error)) << error;
    ASSERT_EQ(pictures.size(), 1u);
    EXPECT_TRUE(pictures[0]->png);
    EXPECT_EQ(pictures[0]->width, 256u);

    // A bitmap, written as PNG and read back as a PNG file of the same size.
    pictures.clear();
    ASSERT_TRUE(PictureFile::Read(kIcons + "/true.bmp", pictures, error)) << error;
    ASSERT_EQ(pictures.size(), 1u);
    const fs::path dir = Scratch("pictures");
    const std::string png = (dir / "true.png").string();
    ASSERT_TRUE(PictureFile::WritePng(*pictures[0], png, error)) << error;
    std::vector<HICON> again;
    ASSERT_TRUE(PictureFile::Read(png, again, error)) << error;
    ASSERT_EQ(again.size(), 1u);
    EXPECT_TRUE(again[0]->png);
    EXPECT_EQ(again[0]->width, 32u);
    EXPECT_EQ(again[0]->height, 32u);
    fs::remove_all(dir);
}

TEST(PictureFile, WhatIsNoPictureIsRefusedWithAReason) {
    std::vector<HICON> pictures;
    std::string error;
    EXPECT_FALSE(
        PictureFile::Read(std::string(TORVEX_EXAMPLES_DIR) + "/materials.tsv", pictures, error));
    EXPECT_NE(error.find("is no ICO, BMP or PNG file"), std::string::npos) << error;
    EXPECT_FALSE(PictureFile::Read(kIcons + "/no-such.ico", pictures, error));
    EXPECT_NE(error.find("cannot read"), std::string::npos) << error;
    EXPECT_FALSE(PictureFile::Read(std::string(TORVEX_SOURCE_DIR) + "/tests/cli/data/cut.ico",
                                   pictures, error));
    EXPECT_NE(error.find("cut.ico: Error when reading content of an icon!"), std::string::npos)
        << error;
    EXPECT_TRUE(pictures.empty());
}

TEST(GraphvizRenderer, FailuresOfTheChildAreReported) {
    const fs::path dir = Scratch("graphviz");
    const std::string svg = (dir / "graph.svg").string();
    std::string error;
    EXPECT_FALSE(GraphvizRenderer("").RenderSvg("digraph {}", svg, error));
    EXPECT_FALSE(GraphvizRenderer((dir / "no-dot").string()).RenderSvg("digraph {}", svg, error));
    EXPECT_NE(error.find("cannot run"), std::string::npos) << error;
    EXPECT_FALSE(GraphvizRenderer("/bin/false").RenderSvg("digraph {}", svg, error));
    EXPECT_NE(error.find("failed (exit code 1)"), std::string::npos) << error;
    EXPECT_FALSE(fs::exists(svg));

    const GraphvizRenderer dot;
    if (!dot.Available())
        GTEST_SKIP() << "Graphviz dot is not installed";
    EXPECT_FALSE(dot.RenderSvg("digraph { a -> }", svg, error));
    EXPECT_NE(error.find("syntax error"), std::string::npos) << error;
    ASSERT_TRUE(dot.RenderSvg("digraph { \"d\" -> \"WIDTH\"; }", svg, error)) << error;
    const std::string written = Read(svg);
    EXPECT_NE(written.find("<svg"), std::string::npos);
    EXPECT_NE(written.find(">WIDTH</text>"), std::string::npos);
    // Nothing is left beside it.
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1);
    fs::remove_all(dir);
}

} // namespace
} // namespace torvex::cli
