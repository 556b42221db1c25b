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

void addRounds(Type type, int count) {
    for (int i = 0; i < count; ++i)
        Singleton::instance()->addDrawRoundData(type, KEY, i, i, 4, 2, 0x336699, 0);
}

void addLines(Type type, int count) {
    std::vector<double> xs = {0, 1, 2}, ys = {3, 4, 5};
    for (int i = 0; i < count; ++i)
        Singleton::instance()->addDrawLineData(type, KEY, xs, ys, 1, false, false, 0, 0);
}

void addTexts(Type type, int count) {
    for (int i = 0; i < count; ++i)
        Singleton::instance()->addDrawTextData(type, TEXTS, i, i, "a", 0, "Serif", 9, 0, 9, 9, 0, 0,
                                               0, 0);
}

std::size_t paint(Type type, const std::string& key = KEY) {
    support::CPaintRecorder recorder;
    QPainter painter(&recorder);
    Singleton::instance()->drawGraph(type, key, &painter, QRect(0, 0, 100, 100),
                                     [](const QPointF& point) { return point; });
    painter.end();
    return recorder.painted.size();
}

TEST(DrawThreads, NothingAddedMeanwhileIsLostAndAPaintOnlySeesMore) {
    constexpr int COUNT = 400;
    std::atomic<bool> done{false};
    std::vector<std::thread> adders, painters;
    for (const Type type : {Type(0), Type(1)}) {
        adders.emplace_back(addRounds, type, COUNT);
        adders.emplace_back(addLines, type, COUNT);
        for (int i = 0; i < 2; ++i) adders.emplace_back(addTexts, type, COUNT);
        painters.emplace_back([type, &done] {
            std::size_t seen = 0;
            do {
                const std::size_t now = paint(type);
                EXPECT_GE(now, seen);
                seen = now;
            } while (!done);
        });
    }
    for (auto& thread : adders) thread.join();
    done = true;
    for (auto& thread : painters) thread.join();
    // A round has two circles, a line one path.
    EXPECT_EQ(paint(Type(0)), 3u * COUNT);
    EXPECT_EQ(paint(Type(1)), 3u * COUNT);
    for (const Type type : {Type(0), Type(1)}) EXPECT_EQ(paint(type, TEXTS), 2u * 2u * COUNT);
    Singleton::release();
}

TEST(DrawThreads, ClearsBetweenAddsAndPaints) {
    std::atomic<bool> done{false};
    std::thread clearer([&done] {
        for (int i = 0; !done; ++i) {
            if (i % 2 == 0)
                Singleton::instance()->clearDatas(KEY);
            else
                Singleton::instance()->clearDatas();
        }
    });
    std::thread painter([&done] {
        while (!done) {
            for (const Type type : {Type(0), Type(1)}) EXPECT_LE(paint(type), 3u * 400u);
        }
    });
    std::thread adder([] {
        addRounds(Type(0), 400);
        addRounds(Type(1), 400);
        addLines(Type(1), 400);
    });
    adder.join();
    done = true;
    clearer.join();
    painter.join();
    Singleton::instance()->clearDatas();
    EXPECT_EQ(paint(Type(0)) + paint(Type(1)), 0u);
    Singleton::release();
}

}  // namespace
