#include "linkage/store/import/statement.h"
#include "fuzz/target.h"
#include "linkage/store/import/readers.h"

#include <QByteArray>

using namespace TC;

// A statement file of any format, from its bytes to its records.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    try {
        const statement::Statement read =
            statement::readStatement(statement::readBytes(bytes), "20240105");
        for (const auto& row : read.deals) {
            fuzz::require(row.record != nullptr, "every row that is read has a record");
            fuzz::require(row.record->m_nVolume > 0, "a deal has a volume");
        }
        for (const auto& row : read.orders) {
            fuzz::require(row.record != nullptr, "every row that is read has a record");
        }
        const std::size_t rows = read.deals.size() + read.orders.size();
        fuzz::require(static_cast<std::size_t>(read.read) >= rows, "the report counts the rows");
    } catch (const statement::Refusal&) {
        return 0;
    }
    return 0;
}
