#include "linkage/draw/cenhancedrawmanager.h"
#include "tests/support/paintrecorder.h"

#include <QPainter>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

// Texts are painted by one thread alone: the system's font libraries are not built for
// the thread sanitizer.

namespace {

using Singleton = utils::CSingletonT<TC::CEnhanceDrawManager>;
using Type = TC::IEnhanceDataBase::EDrawType;

const std::string KEY = "shared";
const std::string TEXTS = "texts";

void add(Type type, int count) {
    std::vector<double> xs = {0, 1, 2}, ys = {3, 4, 5};
    for (int i = 0; i < count; ++i) {
        auto& draw = *Singleton::instance();
        draw.addDrawRoundData(type, KEY, i, i, 4, 2, 0x336699, 0);
        draw.addDrawLineData(type, KEY, xs, ys, 1, false, false, 0, 0);
        draw.addDrawTextData(type, TEXTS, i, i, "a", 0, "Serif", 9, 0, 9, 9, 0, 0, 0, 0);
    }
}

std::size_t paint(Type type, const std::string& key = KEY) {
    support::CPaintRecorder recorder;
    QPainter painter(&recorder);
    Singleton::instance()->drawGraph(type, key, &painter, QRect(0, 0, 100, 100),
                                     [](const QPointF& point) { return point; });
    painter.end();
    return recorder.painted.size();
}

// A round has two circles, a line one path, a text its box and its letters.
TEST(DrawThreads, NothingAddedMeanwhileIsLostAndOnlyAClearTakesAnythingAway) {
    constexpr int COUNT = 400;
    for (const bool clears : {false, true}) {
        SCOPED_TRACE(clears);
        std::atomic<bool> done{false};
        std::vector<std::thread> adders, others;
        for (const Type type : {Type(0), Type(1)}) {
            for (int i = 0; i < 2; ++i) adders.emplace_back(add, type, COUNT);
            others.emplace_back([=, &done] {
                std::size_t seen = 0;
                do {
                    const std::size_t now = paint(type);
                    EXPECT_TRUE(clears || now >= seen);
                    EXPECT_LE(seen = now, 6u * COUNT);
                } while (!done);
            });
        }
        if (clears) {
            others.emplace_back([&done] {
                for (int i = 0; !done; ++i) {
                    i % 2 ? Singleton::instance()->clearDatas()
                          : Singleton::instance()->clearDatas(KEY);
                }
            });
        }
        for (auto& thread : adders) thread.join();
        done = true;
        for (auto& thread : others) thread.join();
        if (clears) Singleton::instance()->clearDatas();
        for (const Type type : {Type(0), Type(1)}) {
            EXPECT_EQ(paint(type), clears ? 0u : 6u * COUNT);
            EXPECT_EQ(paint(type, TEXTS), clears ? 0u : 4u * COUNT);
        }
        Singleton::release();
    }
}

}  // namespace
