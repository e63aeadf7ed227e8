#include "faults/VolumeRequests.hpp"

#include <algorithm>
#include <array>

namespace orv::test {
namespace {

std::vector<VolumeRequest> rows()
{
    const std::string tree = "tree/ tree/a tree/big tree/empty tree/sparse tree/sub/ tree/sub/b";
    const std::string no_links = "cannot hold symbolic links";
    const std::string no_name = "cannot hold an item of this name";
    const std::string no_nodes = "cannot hold named pipes";
    const std::string copy = "new/ new/a new/big new/empty new/sparse new/sub/ new/sub/b";
    return {
        {"copy_file_to", "$ORV cp $H/big $V/big", "cp -a $H/big $V/big", "big", "", "big", "big"},
        {"copy_tree_to", "$ORV cp $H/tree $V/new", "cp -a $H/tree $V/new", tree, "", tree, copy},
        {"copy_link_to", "$ORV cp $H/t $V/t", "cp -a $H/t $V/t", "t/ t/l>a t/a", "", "t/ t/l>a t/a",
         "t/ t/l>a t/a", "", no_links},
        {"copy_fifo_to", "$ORV cp $H/t $V/t", "cp -a $H/t $V/t", "t/ t/f| t/a", "", "t/ t/f| t/a",
         "t/ t/f| t/a", "", no_nodes},
        {"move_link_in", "$ORV mv $H/t $V/t", "mv $H/t $V/t", "t/ t/l>a t/a", "", "",
         "t/ t/l>a t/a", "", no_links},
        {"copy_file_from", "$ORV cp $V/big $H/big", "cp -a $V/big $H/big", "", "big", "big", "big"},
        {"copy_tree_from", "$ORV cp $V/tree $H/new", "cp -a $V/tree $H/new", "", tree, copy, tree},
        {"copy_within", "$ORV cp $V/tree $V/new", "cp -a $V/tree $V/new", "", tree, "",
         tree + " " + copy},
        {"copy_replace", "$ORV cp $H/a $V/b --on-conflict replace", "cp -a $H/a $V/b", "a", "b",
         "a", "b=a"},
        {"copy_replace_tree", "$ORV cp $H/tree $V --on-conflict replace",
         "rm -r $V/tree && cp -a $H/tree $V/tree", tree, "tree/ tree/x", tree, tree},
        {"copy_keep_both", "$ORV cp $H/a.t $V --on-conflict keep-both",
         "cp -a $H/a.t \"$V/a (2).t\"", "a.t", "a.t=b", "a.t", "a.t=b a_(2).t=a.t"},
        {"copy_merge", "$ORV cp $H/tree $V --on-conflict merge", "cp -a $H/tree/. $V/tree", tree,
         "tree/ tree/x", tree, tree + " tree/x"},
        {"move_file_in", "$ORV mv $H/big $V/big", "mv $H/big $V/big", "big", "", "", "big"},
        {"move_tree_in", "$ORV mv $H/tree $V/new", "mv $H/tree $V/new", tree, "", "", copy},
        {"move_replace_in", "$ORV mv $H/a $V/b --on-conflict replace", "mv $H/a $V/b", "a", "b", "",
         "b=a"},
        {"move_file_out", "$ORV mv $V/big $H/big", "mv $V/big $H/big", "", "big", "big", ""},
        {"move_tree_out", "$ORV mv $V/tree $H/new", "mv $V/tree $H/new", "", tree, copy, ""},
        {"move_file_within", "$ORV mv $V/a $V/t/b", "mv $V/a $V/t/b", "", "a t/", "", "t/ t/b=a"},
        {"move_tree_within", "$ORV mv $V/tree $V/new", "mv $V/tree $V/new", "", tree, "", copy},
        {"rename_file", "$ORV rename $V/a b", "mv $V/a $V/b", "", "a", "", "b=a"},
        {"rename_tree", "$ORV rename $V/tree new", "mv $V/tree $V/new", "", tree, "", copy},
        {"rename_case", "$ORV rename $V/a A", "mv $V/a $V/A", "", "a", "", "A=a"},
        {"rename_case_tree", "$ORV rename $V/tree TREE 2>/dev/null; $ORV rename $V/TREE new",
         "mv -T $V/tree $V/TREE && mv -T $V/TREE $V/new", "", tree, "", copy},
        {"move_case_tree", "$ORV mv $V/tree $V/TREE", "mv -T $V/tree $V/TREE", "", tree, "",
         "TREE/ TREE/a TREE/big TREE/empty TREE/sparse TREE/sub/ TREE/sub/b"},
        {"copy_odd_name_to", "$ORV cp $H/t $V/u", "cp -a $H/t $V/u", "t/ t/a:b", "", "t/ t/a:b",
         "u/ u/a:b", "", no_name},
        {"make_odd_folder", "$ORV mkdir $V/x:y", "mkdir $V/x:y", "", "", "", "x:y/", "", no_name},
        {"rename_oddly", "$ORV rename $V/a a:b", "mv $V/a $V/a:b", "", "a", "", "a:b=a", "",
         no_name},
        {"rename_taken", "! $ORV rename $V/a b 2>/dev/null", "true", "", "a b", "", "a b"},
        {"same_copied", "$ORV cp $V/a $V/A --on-conflict replace; true", "true", "", "a", "", "a",
         "", "", true},
        {"same_moved", "$ORV mv $V/a $V/A --on-conflict replace", "mv $V/a $V/A", "", "a", "",
         "A=a", "", "", true},
        {"same_copied_into", "! $ORV cp $V/tree $V/TREE 2>/dev/null", "true", "", tree, "", tree,
         "", "", true},
        {"same_merged", "$ORV cp $V/p/tree $V/P --on-conflict merge; true", "true", "",
         "p/ p/tree/ p/tree/a", "", "p/ p/tree/ p/tree/a", "", "", true},
        {"same_replaced", "$ORV cp $V/p/tree $V/P --on-conflict replace; true", "true", "",
         "p/ p/tree/ p/tree/a", "", "p/ p/tree/ p/tree/a", "", "", true},
        {"delete_file", "$ORV rm $V/a", "rm $V/a", "", "a b", "", "b"},
        {"delete_tree", "$ORV rm $V/tree", "rm -r $V/tree", "", tree + " b", "", "b"},
        {"make_folder", "$ORV mkdir -p $V/x/y", "mkdir -p $V/x/y", "", "", "", "x/ x/y/"},
        {"write", "$ORV write $V/b < $H/a", "cat $H/a > $V/b", "a", "", "a", "b=a"},
        {"write_big", "$ORV write $V/b < $H/big", "cat $H/big > $V/b", "big", "", "big", "b=big"},
        {"write_replace", "$ORV write $V/b --on-conflict replace < $H/a", "cat $H/a > $V/b", "a",
         "b", "a", "b=a"},
        {"zip_to", "$ORV zip $V/z.zip $H/tree", "zip -qr $V/z.zip tree", tree, "", tree,
         "z.zip=new"},
        {"zip_from", "$ORV zip $H/z.zip $V/tree", "cd $V && zip -qr $H/z.zip tree", "", tree,
         "z.zip=new", tree},
        {"zip_replace", "$ORV zip $V/z.zip $H/tree --on-conflict replace",
         "rm $V/z.zip && zip -qr $V/z.zip tree", tree, "z.zip", tree, "z.zip=new"},
        {"unzip_on", "$ORV unzip $V/z.zip $V/u", "unzip -q $V/z.zip -d $V/u/z", "", "z.zip u/", "",
         "z.zip u/ u/z/ u/z/d/ u/z/d/b u/z/a"},
        {"unzip_to", "$ORV unzip $H/z.zip $V", "unzip -q $H/z.zip -d $V/z", "z.zip", "", "z.zip",
         "z/ z/d/ z/d/b z/a"},
        {"read_list", "$ORV ls $V/tree", "ls $V/tree", "", tree, "", tree, "empty"},
        {"read_names", "$ORV find -r $V/tree B", "find $V/tree -name b", "", tree, "", tree, "b"},
        {"read_texts", "$ORV find -r --content $V/tree \"20000 20001\"",
         "grep -rl \"20000 20001\" $V/tree", "", tree, "", tree, "big"},
        {"read_size", "$ORV du $V/tree", "du $V/tree", "", tree, "", tree, ""},
        {"write_thumb", "$ORV thumb $H/p.png $V/t.png", "cat $H/p.png $H/p.png > $V/t.png", "p.png",
         "", "p.png", "t.png=new"},
        {"read_thumb", "$ORV thumb $V/p.png $H/t.png", "cat $V/p.png $V/p.png > $H/t.png", "",
         "p.png", "t.png=new", "p.png"},
    };
}

/// Those that differ most in the calls that they make.
constexpr std::array quick_ones{
    "same_copied_into", "same_merged",       "copy_tree_to",   "copy_link_to", "copy_fifo_to",
    "copy_replace",     "copy_replace_tree", "copy_keep_both", "move_tree_in", "move_replace_in",
    "move_tree_out",    "rename_file",       "rename_tree",    "rename_case",  "move_case_tree",
    "copy_odd_name_to", "make_odd_folder",   "rename_oddly",   "rename_taken", "same_copied",
    "same_moved",       "same_replaced",     "delete_tree",    "make_folder",  "write_replace",
    "zip_replace",      "unzip_to"};

bool keeps_all(const std::string& name)
{
    return name != "copy_merge" && (name.starts_with("copy_") || name.starts_with("move_"));
}

} // namespace

const std::vector<VolumeRequest>& volume_requests()
{
    static const std::vector<VolumeRequest> requests = [] {
        std::vector<VolumeRequest> all = rows();
        for (VolumeRequest& request : all) {
            request.keeps_all = keeps_all(request.name);
            request.is_quick = std::ranges::find(quick_ones, request.name) != quick_ones.end();
        }
        return all;
    }();
    return requests;
}

} // namespace orv::test
