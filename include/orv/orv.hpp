#pragma once

#include <orv/CustomAttributes/CustomAttributes.hpp>
#include <orv/Facade/OrvFileBrowser.hpp>
#include <orv/Facade/OrvFileManager.hpp>
#include <orv/Misc/FileItem.hpp>
#include <orv/Operations/SaveAttrOpr.hpp>
#include <orv/Operations/Status.hpp>
#include <orv/Operations/ThumbGenerateOpr.hpp>
#include <orv/ThumbGenerator/Generators.hpp>
#include <orv/ThumbGenerator/OrvThumbnail.hpp>
#include <orv/picture/Picture.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/Fatal.hpp>
#include <orv/utility/Locations.hpp>
#include <orv/utility/MainQueue.hpp>
#include <orv/utility/Match.hpp>
#include <orv/utility/Url.hpp>
