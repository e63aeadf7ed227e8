#include "Folder/LivingFolder.hpp"

#include <orv/Facade/OrvFileManager.hpp>
#include <orv/Folder/OrvFolder.hpp>
#include <orv/utility/MainQueue.hpp>

#include <utility>

namespace orv {

OrvFolder::OrvFolder(Url url, SortType sort, Options options, StatusClosure status_closure)
    : living_(
          std::make_shared<LivingFolder>(std::move(url), sort, options, std::move(status_closure)))
{
    assert_main_thread("OrvFolder()");
    OrvFileManager::create_singleton();
    living_->start();
}

OrvFolder::~OrvFolder()
{
    assert_main_thread("~OrvFolder()");
    living_->end();
}

const Url& OrvFolder::url() const
{
    return living_->url();
}

void OrvFolder::set_include_hidden_files(bool include)
{
    living_->set_include_hidden_files(include);
}

bool OrvFolder::include_hidden_files() const
{
    return living_->include_hidden_files();
}

void OrvFolder::set_sort(SortType sort)
{
    living_->set_sort(sort);
}

SortType OrvFolder::sort() const
{
    return living_->sort();
}

} // namespace orv
