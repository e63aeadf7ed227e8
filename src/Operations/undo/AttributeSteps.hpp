#pragma once

#include "CustomAttributes/RecordKey.hpp"
#include "Operations/undo/UndoStep.hpp"

#include <orv/CustomAttributes/CustomAttributes.hpp>

#include <string>
#include <unordered_map>
#include <vector>

namespace orv {

/// The stored attributes of items around a change.
///
/// Errors: those of the database.
class AttributesBefore {
public:
    /// Reads the attributes of the items to change, and of their folders.
    explicit AttributesBefore(const std::vector<CustomAttributes>& items);

    /// The steps of all changes since.
    [[nodiscard]] std::vector<UndoStep> changes() const;

private:
    using Texts = std::unordered_map<std::string, std::string>;

    [[nodiscard]] Texts texts_now() const;

    std::vector<RecordKey> keys_;
    Texts before_;
};

/// True if the item has the attributes from before the step, or the later ones, respectively.
///
/// Errors: those of the database.
[[nodiscard]] bool has_attributes_before(const UndoStep& step);
[[nodiscard]] bool has_attributes_after(const UndoStep& step);

/// Gives the item its former attributes.
///
/// Errors: those of the database.
void set_attributes_back(const UndoStep& step);

} // namespace orv
