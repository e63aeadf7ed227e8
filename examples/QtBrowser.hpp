#pragma once

// A file browser in Qt: shows a folder live, with thumbnails; what is pasted or dropped is copied,
// with a question when a name is taken, and with progress.
#include <orv/integrations/qt_model.hpp>
#include <orv/orv.hpp>

#include <QApplication>
#include <QClipboard>
#include <QFileIconProvider>
#include <QLineEdit>
#include <QMainWindow>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QStatusBar>
#include <QToolBar>
#include <QTreeView>

namespace orv::example {

class QtBrowser : public QMainWindow {
public:
    explicit QtBrowser(const Url& folder)
    {
        model_.set_handlers({
            .on_complete = [this] { say(tr("%1 items").arg(model_.rowCount())); },
            .on_compared = [this](const auto& told) { say(text_of(told.reason)); },
            .on_gone = [this](const Error& error) { say(text_of(error)); },
            .on_failure = [this](const Error& error) { say(text_of(error)); },
            .on_drop = [this](auto items, auto into, auto) { copy(items, into); },
        });
        model_.set_icon_provider(std::make_unique<QFileIconProvider>());
        set_up_view();
        set_up_bars();
        open(folder);
    }

    /// Shows another folder.
    void open(const Url& folder)
    {
        model_.set_folder(folder);
        address_.setText(to_qstring(folder.path()));
        setWindowTitle(to_qstring(folder.last_path_component()));
    }

    /// Copies items into a folder.
    void copy(const std::vector<Url>& items, const Url& into)
    {
        progress_.show();
        copy_ = OrvFileManager::singleton().copy(
            items, into, while_alive(this, [this](const MultiCopyOperation::Status& status) {
                match(
                    status, [](const status::preparing&) {},
                    [&](const status::progress<CopyProgress>& told) {
                        progress_.setValue(static_cast<int>(100 * told.record.value));
                    },
                    [&](const status::conflict_occured& taken) { ask(taken.resolver); },
                    [&](const status::success&) { end_copy(tr("Copied")); },
                    [&](const status::cancelled&) { end_copy(tr("Stopped")); },
                    [&](const status::error& failed) { end_copy(text_of(failed.error)); });
            }));
    }

    [[nodiscard]] QtFolderModel& model() { return model_; }

private:
    void set_up_view()
    {
        view_.setModel(&model_);
        view_.setRootIsDecorated(false);
        view_.setUniformRowHeights(true);
        view_.setIconSize({48, 48});
        view_.setSelectionMode(QAbstractItemView::ExtendedSelection);
        view_.setDragDropMode(QAbstractItemView::DragDrop);
        view_.setEditTriggers(QAbstractItemView::EditKeyPressed);
        view_.setColumnWidth(QtFolderModel::name_column, 320);
        view_.sortByColumn(QtFolderModel::name_column, Qt::AscendingOrder);
        view_.setSortingEnabled(true);
        connect(&view_, &QTreeView::activated, this, [this](const QModelIndex& index) {
            if (model_.item(index).is_dir)
                open(Url(model_.item(index).url));
        });
        setCentralWidget(&view_);
    }

    void set_up_bars()
    {
        QToolBar* bar = addToolBar(tr("Folder"));
        bar->addAction(tr("Up"), this,
                       [this] { open(model_.rows()->url().deleting_last_path_component()); });
        bar->addWidget(&address_);
        QAction* hidden = bar->addAction(tr("Hidden"));
        hidden->setCheckable(true);
        connect(hidden, &QAction::toggled, this,
                [this](bool on) { model_.rows()->set_include_hidden_files(on); });
        connect(&address_, &QLineEdit::returnPressed, this,
                [this] { open(address_.text().toStdString()); });
        for (const auto& [key, slot] : {std::pair(QKeySequence::Copy, &QtBrowser::copy_selected),
                                        std::pair(QKeySequence::Paste, &QtBrowser::paste)})
            connect(new QShortcut(key, this), &QShortcut::activated, this, slot);
        auto* stop = new QPushButton(tr("Stop"));
        connect(stop, &QPushButton::clicked, this, [this] {
            if (copy_)
                copy_->cancel();
        });
        statusBar()->addPermanentWidget(&progress_);
        statusBar()->addPermanentWidget(stop);
        progress_.hide();
    }

    void copy_selected()
    {
        QApplication::clipboard()->setMimeData(
            model_.mimeData(view_.selectionModel()->selectedRows()));
    }

    void paste()
    {
        model_.dropMimeData(QApplication::clipboard()->mimeData(), Qt::CopyAction, -1, -1, {});
    }

    /// Asks what to do about a taken name. The copy waits; the window does not.
    void ask(const std::shared_ptr<ConflictResolver>& resolver)
    {
        auto* box = new QMessageBox(QMessageBox::Question, tr("The name is taken"),
                                    to_qstring(resolver->destination_url().path()), {}, this);
        box->setAttribute(Qt::WA_DeleteOnClose);
        const auto* replace = box->addButton(tr("Replace"), QMessageBox::DestructiveRole);
        const auto* keep_both = box->addButton(tr("Keep both"), QMessageBox::AcceptRole);
        box->addButton(QMessageBox::Cancel);
        connect(box, &QMessageBox::finished, this, [=] {
            const auto* chosen = box->clickedButton();
            resolver->resume(chosen == replace     ? ConflictBehaviour::replace
                             : chosen == keep_both ? ConflictBehaviour::keep_both
                                                   : ConflictBehaviour::stop,
                             false);
        });
        box->open();
    }

    void end_copy(const QString& text)
    {
        progress_.hide();
        copy_.reset();
        say(text);
    }

    void say(const QString& text) { statusBar()->showMessage(text); }
    static QString text_of(const Error& error) { return to_qstring(error.sentence()); }

    QtFolderModel model_;
    QTreeView view_;
    QLineEdit address_;
    QProgressBar progress_;
    std::shared_ptr<MultiCopyOperation> copy_;
};

} // namespace orv::example
