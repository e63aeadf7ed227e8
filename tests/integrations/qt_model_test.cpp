#include "examples/QtBrowser.hpp"
#include "folder/RandomChanges.hpp"
#include "support/Engine.hpp"

#include <QAbstractItemModelTester>
#include <QSortFilterProxyModel>
#include <QTest>

namespace orv::test {
namespace {

void wait_until(const std::function<bool()>& predicate)
{
    ASSERT_TRUE(QTest::qWaitFor(predicate, 30'000));
}

class QtModelTest : public EngineTest {
protected:
    void show(QtFolderModel& model)
    {
        bool is_complete = false;
        model.set_handlers({.on_complete = [&] { is_complete = true; }});
        model.set_folder(folder());
        wait_until([&] { return is_complete; });
        model.set_handlers({});
    }

    static QStringList names_of(const QAbstractItemModel& model)
    {
        QStringList names;
        for (int row = 0; row < model.rowCount(); ++row)
            names.push_back(model.index(row, 0).data().toString());
        return names;
    }
};

TEST_F(QtModelTest, keeps_the_rules_of_models_while_the_folder_changes)
{
    QtFolderModel model;
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSortFilterProxyModel proxy;
    proxy.setSourceModel(&model);
    proxy.sort(0);
    show(model);
    RandomChanges changes(folder(), 3);
    for (int round = 0; round < 40; ++round) {
        for (int i = 0; i < 25; ++i)
            changes.make_one();
        model.sort(round % QtFolderModel::column_count,
                   round % 2 == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
        QTest::qWait(5);
    }
    write_file(at("last"), "1");
    wait_until([&] { return model.rows()->row_of("last").has_value(); });
    QStringList shown = names_of(model);
    QStringList filtered = names_of(proxy);
    shown.sort();
    filtered.sort();
    EXPECT_EQ(shown, filtered);
}

TEST_F(QtModelTest, tells_what_views_ask_for)
{
    make_tree(folder(), {"a.txt=12345", "sub/", "b\xff=1"});
    save_all({{.url = at("a.txt"), .is_protected = true}}, false);
    QtFolderModel model;
    show(model);
    ASSERT_EQ(names_of(model), (QStringList{"sub", "a.txt", QString::fromUtf8("b\xff")}));
    const QModelIndex file = model.index(1, QtFolderModel::name_column);
    EXPECT_EQ(file.data(QtFolderModel::size_role).toLongLong(), 5);
    EXPECT_TRUE(file.data(QtFolderModel::protected_role).toBool());
    EXPECT_EQ(model.index(0, QtFolderModel::kind_column).data().toString(), "Folder");
    EXPECT_FALSE(model.index(0, QtFolderModel::size_column).data(Qt::EditRole).toInt());
    EXPECT_TRUE(model.flags(model.index(0, 0)) & Qt::ItemIsDropEnabled);
    EXPECT_FALSE(model.flags(file) & Qt::ItemIsDropEnabled);

    const std::unique_ptr<QMimeData> dragged(model.mimeData({model.index(2, 0), file}));
    ASSERT_EQ(dragged->urls().size(), 2);
    EXPECT_EQ(from_qurl(dragged->urls()[0]), at("b\xff"));
    std::vector<Url> dropped;
    Url into;
    model.set_handlers({.on_drop = [&](auto items, auto target, auto) {
        dropped = std::move(items);
        into = std::move(target);
    }});
    model.dropMimeData(dragged.get(), Qt::CopyAction, -1, -1, model.index(0, 0));
    EXPECT_EQ(dropped, (std::vector<Url>{at("b\xff"), at("a.txt")}));
    EXPECT_EQ(into, at("sub"));
}

TEST_F(QtModelTest, keeps_an_index_at_its_item_through_a_renaming_and_a_new_order)
{
    make_tree(folder(), {"a=1", "b=22", "c=333"});
    QtFolderModel model;
    show(model);
    const QPersistentModelIndex index(model.index(0, 0));
    EXPECT_TRUE(model.setData(index, "z"));
    wait_until([&] { return index.data().toString() == "z"; });
    EXPECT_EQ(index.row(), 2);
    model.sort(QtFolderModel::size_column, Qt::AscendingOrder);
    EXPECT_EQ(index.row(), 0);
    EXPECT_EQ(index.data().toString(), "z");

    QString failure;
    model.set_handlers(
        {.on_failure = [&](const Error& error) { failure = to_qstring(error.sentence()); }});
    EXPECT_TRUE(model.setData(index, "b"));
    wait_until([&] { return !failure.isEmpty(); });
}

TEST_F(QtModelTest, drives_a_browser_with_thumbnails_a_question_and_progress)
{
    QImage red(64, 64, QImage::Format_RGB32);
    red.fill(Qt::red);
    make_tree(folder(), {"here/", "there/"});
    ASSERT_TRUE(red.save(to_qstring(at("here/picture.png").path())));
    write_file(at("there/picture.png"), "another");

    example::QtBrowser browser(at("here"));
    browser.show();
    QtFolderModel& model = browser.model();
    wait_until([&] { return model.rowCount() == 1; });
    const auto is_red = [&] {
        const QIcon icon = model.index(0, 0).data(Qt::DecorationRole).value<QIcon>();
        const QImage shown = icon.pixmap(64).toImage();
        return !shown.isNull() && shown.pixelColor(32, 32) == QColor(Qt::red);
    };
    wait_until(is_red);

    browser.copy({at("there/picture.png")}, at("here"));
    QMessageBox* question = nullptr;
    wait_until([&] { return (question = browser.findChild<QMessageBox*>()) != nullptr; });
    for (QAbstractButton* button : question->buttons())
        if (button->text() == "Keep both")
            button->click();
    wait_until([&] { return model.rows()->row_of("picture 2.png").has_value(); });
    wait_until([&] { return browser.statusBar()->currentMessage() == "Copied"; });
    EXPECT_EQ(read_file(at("here/picture 2.png")), "another");
}

TEST_F(QtModelTest, does_nothing_for_an_owner_that_is_gone)
{
    int calls = 0;
    auto owner = std::make_unique<QObject>();
    auto closure = while_alive(owner.get(), [&](int by) { calls += by; });
    closure(1);
    owner.reset();
    closure(1);
    EXPECT_EQ(calls, 1);
}

} // namespace
} // namespace orv::test

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    const QApplication app(argc, argv);
    const orv::QtAttachment attachment;
    return RUN_ALL_TESTS();
}
