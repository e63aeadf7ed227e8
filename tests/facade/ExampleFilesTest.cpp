#include "Facade/ExampleFiles.hpp"

#include "support/Engine.hpp"

#include <filesystem>
#include <set>
#include <sstream>
#include <thread>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

// In the order in which they are made.
const struct {
    const char* folder;
    const char* files;
} example_folders[] = {
    {"Music", "guitar.mp3 harpsichord.mp3 piano.mp3"},
    {"Pictures", "birds.jpg posing.jpg foxies.jpg colorful.jpg"},
    {"Books", "A-Room-with-a-View.pdf The-Prince.pdf The-Problems-of-Philosophy.pdf"},
    {"Experiments", ""},
    {"Notes", "notes.txt"},
    {"Notes/Personal/Decision", "decision_01.txt decision_02.txt decision_03.txt"},
    {"Notes/Personal/Diary", "diary_01.txt diary_02.txt"},
    {"Notes/Personal/Hobbies", "hobby_01.txt"},
    {"Notes/Personal/Ideas", "idea_01.txt idea_02.txt"},
    {"Notes/Personal/Quotes", "quote_01.txt quote_02.txt quote_03.txt quote_04.txt"},
    {"Notes/Personal/Thoughts", "thought_01.txt thought_02.txt"},
    {"Notes/Work/Project_A", "phase_01.txt phase_02.txt phase_03.txt"},
    {"Notes/Work/Project_B", "phase_01.txt phase_02.txt phase_03.txt phase_04.txt"},
    {"Notes/Work/Project_C", "phase_01.txt phase_02.txt"},
};

/// The example files, each by its way from the folder that they are in.
Texts example_files()
{
    Texts files;
    for (const auto& row : example_folders) {
        std::istringstream names(row.files);
        for (std::string name; names >> name;)
            files.push_back(std::string(row.folder) + "/" + name);
    }
    return files;
}

Texts expected_tree()
{
    std::set<std::string> entries{"Notes/Personal/", "Notes/Work/"};
    for (const auto& row : example_folders)
        entries.insert(std::string(row.folder) + "/");
    for (const std::string& file : example_files()) {
        const Url resource = resource_dir().appending(Url("/" + file).last_path_component());
        const bool is_note = file.starts_with("Notes/");
        entries.insert(file + "=" +
                       read_file(is_note ? resource_dir().appending("lorem.txt") : resource));
    }
    return {entries.begin(), entries.end()};
}

class ExampleFilesTest : public EngineTest {
protected:
    /// What was printed, as output and as errors.
    using Output = std::pair<std::string, std::string>;

    /// Makes the files in `in`.
    Output output_of_making(const Url& in, bool log_status)
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        int completions = 0;
        OrvFileBrowser::create_example_files(in, log_status, [&] {
            EXPECT_TRUE(MainQueue::instance().is_main_thread());
            ++completions;
        });
        EXPECT_EQ(completions, 0);
        pump_until([&] { return completions > 0; });
        MainQueue::instance().drain();
        EXPECT_EQ(completions, 1);
        return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
    }

    /// What is printed when every step of a kind goes the same way. "Notes" comes into being with
    /// the first folder in it.
    static Output lines(const Url& in, const std::string& folder, const std::string& file)
    {
        Output output;
        const auto add = [&](const std::string& line) {
            (line.starts_with("⚠️") ? output.second : output.first) += line + "\n";
        };
        add("⏳ Creating Folders...");
        for (const auto& row : example_folders)
            if (row.folder != std::string("Notes"))
                add(folder + row.folder);
        add("⏳ Populating folders with resource files...");
        for (const std::string& name : example_files())
            add(file + in.appending(name).path());
        return output;
    }
};

TEST_F(ExampleFilesTest, a_folder_is_filled_and_every_step_told)
{
    const Url in = at("new/folder");
    EXPECT_EQ(output_of_making(in, true),
              lines(in, "✅ created folder: ", "✅ copied resource to: "));
    EXPECT_EQ(tree(in), expected_tree());
}

TEST_F(ExampleFilesTest, what_is_there_is_left_as_it_is)
{
    EXPECT_EQ(output_of_making(folder(), false), Output());
    const Texts made = tree(folder());
    EXPECT_EQ(output_of_making(folder(), true), lines(folder(), "⚠️ this item already exists: ",
                                                      "⚠️ couldn't copy resource to: "));
    EXPECT_EQ(tree(folder()), made);

    std::filesystem::remove(at("Books/The-Prince.pdf"));
    EXPECT_EQ(output_of_making(folder(), false), Output());
    EXPECT_EQ(tree(folder()), made);
}

TEST_F(ExampleFilesTest, a_run_in_which_every_step_fails_ends_all_the_same)
{
    make_tree(folder(), {"file=1"});
    for (const Url& in : {at("file"), Url("")})
        EXPECT_EQ(output_of_making(in, true), lines(in, "⚠️ couldn't create folder: ",
                                                    "⚠️ couldn't copy resource to: "));
    EXPECT_EQ(tree(folder()), Texts{"file=1"});
}

TEST_F(ExampleFilesTest, a_missing_resource_is_told_and_nothing_is_made)
{
    for (const bool log_status : {true, false}) {
        testing::internal::CaptureStderr();
        std::thread([&] { bg_copy_resource("none.txt", at("a.txt"), log_status); }).join();
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  log_status ? "⚠️ couldn't find resource named: none.txt\n" : "");
    }
    EXPECT_EQ(tree(folder()), Texts{});
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(bg_copy_resource("lorem.txt", at("a.txt"), true), "bg_copy_resource");
}

} // namespace
} // namespace orv::test
