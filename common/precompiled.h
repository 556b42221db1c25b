#pragma once

// The headers that nearly every source includes in the end, compiled once. Sources still include
// what they use, because the static analysis reads them without this file.

#include <utility>

#include <fmt/format.h>
#include <boost/asio/io_service.hpp>
#include <boost/asio/strand.hpp>
#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/signal.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <boost/thread/shared_mutex.hpp>

#include <QDateTime>
#include <QObject>
#include <QString>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>
