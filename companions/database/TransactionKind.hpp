#pragma once

namespace orv {

/// What a transaction of a database is for.
enum class TransactionKind { read, write, durable_write };

} // namespace orv
