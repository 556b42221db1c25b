#include "replay/restoredmanager.h"

#include "replay/manageraccess.h"
#include "replay/picturereader.h"

#include <string>
#include <utility>
#include <vector>

namespace replay {

void restoreManager(const CFields& picture, TC::CLinkageManager& manager, CRecordedClient& client,
                    boost::asio::io_service& service, RecordedWorks& works) {
    CPictureReader::Shared shared{client, service, {}, {}};
    CPictureReader state(picture.need("state").fields(), shared);
    TC::ManagerAccess::restore(manager, state);
    picture.need("left").list().each([&](const CValue& each) {
        const CFields work = each.fields();
        const std::string name(work.text("name"));
        std::vector<std::string> arguments;
        work.need("with").list().each(
            [&](const CValue& argument) { arguments.emplace_back(argument.text()); });
        const auto number = work.whole<std::uint64_t>("number");
        auto left =
            TC::ManagerAccess::leftWork(manager, number, {name.c_str(), std::move(arguments)});
        if (left.empty()) each.fail("\"" + name + "\" is no work that can wait");
        works[{0, name, number}] = std::move(left);
    });
}

}  // namespace replay
