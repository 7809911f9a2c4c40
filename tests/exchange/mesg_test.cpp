#include "dataprocessing/exchange/mesg.h"

#include <functional>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/failing_new.h"
#include "tests/support/slots.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Messages of one class each.
constexpr unsigned long ping = 0x00100001;
constexpr unsigned long pong = 0x00200001;

using Log = std::vector<std::string>;

std::string nameOf(unsigned long id) {
    return id == ping ? "ping" : id == pong ? "pong" : id == mesg_SenderDestroyed ? "gone" : "?";
}

/// Writes down what it hears, then acts.
class Listener final : public mesg_cReceiver {
public:
    Listener(std::string name, Log& log) : name_(std::move(name)), log_(&log) {}

    std::function<void(unsigned long, mesg_cSender&)> act;

    void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData*) override {
        log_->push_back(name_ + " " + nameOf(id));
        // The action may destroy this listener.
        if (const auto action = act)
            action(id, sender);
    }

private:
    std::string name_;
    Log* log_;
};

/// A sender with listeners a, b, c in this order.
class Messages : public testing::Test {
protected:
    Messages() {
        for (const auto& listener : {a.get(), b.get(), c.get()})
            sender->AddReceiver(*listener, mesg_AllClasses);
    }

    /// Makes `listener` do `action` the first time it hears `ping`.
    void onPing(std::unique_ptr<Listener>& listener, std::function<void()> action) {
        listener->act = [action, done = std::make_shared<bool>(false)](unsigned long id,
                                                                       mesg_cSender&) {
            if (id == ping && !std::exchange(*done, true))
                action();
        };
    }

    std::unique_ptr<Listener> listener(const std::string& name) {
        return std::make_unique<Listener>(name, log);
    }

    Log log;
    std::unique_ptr<Listener> a = listener("a"), b = listener("b"), c = listener("c");
    std::unique_ptr<Listener> late = listener("late");
    std::unique_ptr<mesg_cSender> sender = std::make_unique<mesg_cSender>();
};

struct Payload : mesg_sMessageData {
    int value = 0;
};

} // namespace

TEST(MessageIds, AreDistinctAndCarryTheirClassInTheUpperHalf) {
    const std::set<unsigned long> ids = {rnge_1DRangeChanged, dasl_SelectionChanged,
                                         ftfn_FunctionChanged, mesg_SenderDestroyed};
    EXPECT_EQ(ids.size(), 4u);
    std::set<unsigned short> classes;
    for (const unsigned long id : ids) {
        EXPECT_NE(mesg_Class(id), 0);
        classes.insert(mesg_Class(id));
    }
    EXPECT_EQ(classes.size(), 4u);
    EXPECT_EQ(mesg_Class(0x12345678), 0x1234);
    EXPECT_EQ(mesg_Class(0xFFFF), 0);
}

TEST(IdleSender, CostsTwoWordsAndNeverAllocates) {
    EXPECT_EQ(sizeof(mesg_cSender), 2 * sizeof(void*));
    Log log;
    Listener stranger("stranger", log);
    const long before = allocationCount();
    {
        mesg_cSender sender;
        mesg_cSender copy(sender);
        copy = sender;
        sender.SendMessage(ping, nullptr);
        sender.QueueMessage(ping, nullptr);
        sender.RemoveReceiver(stranger);
    }
    EXPECT_EQ(allocationCount(), before);
    static_assert(std::is_nothrow_default_constructible_v<mesg_cSender>);
    static_assert(std::is_nothrow_copy_constructible_v<mesg_cSender>);
    static_assert(std::is_nothrow_copy_assignable_v<mesg_cSender>);
}

TEST(Sender, CallsItsOperationsThroughFixedSlots) {
    EXPECT_EQ(slotOf(&mesg_cSender::AddReceiver), 2u);
    EXPECT_EQ(slotOf(&mesg_cSender::RemoveReceiver), 3u);
    EXPECT_EQ(slotOf(&mesg_cSender::QueueMessage), 4u);
    EXPECT_EQ(slotOf(&mesg_cSender::SendMessage), 5u);
    EXPECT_EQ(slotOf(&mesg_cReceiver::ReceiveMessage), 2u);
}

TEST(Receiver, IsMadeAndDestroyedThroughDerivedClassesOnly) {
    static_assert(!std::is_destructible_v<mesg_cReceiver>);
    static_assert(std::has_virtual_destructor_v<mesg_cReceiver>);
    static_assert(!std::is_copy_assignable_v<mesg_cReceiver>);
    static_assert(std::has_virtual_destructor_v<mesg_cSender>);
    static_assert(std::has_virtual_destructor_v<mesg_sMessageData>);
}

TEST(Sender, PassesIdSenderAndDataOn) {
    struct Probe : mesg_cReceiver {
        unsigned long id = 0;
        mesg_cSender* sender = nullptr;
        mesg_sMessageData* data = nullptr;
        void ReceiveMessage(unsigned long i, mesg_cSender& s, mesg_sMessageData* d) override {
            id = i;
            sender = &s;
            data = d;
        }
    } probe;
    mesg_cSender sender;
    sender.AddReceiver(probe, mesg_AllClasses);

    Payload payload;
    sender.SendMessage(ping, &payload);
    EXPECT_EQ(probe.id, ping);
    EXPECT_EQ(probe.sender, &sender);
    EXPECT_EQ(probe.data, &payload);
    sender.SendMessage(pong, nullptr);
    EXPECT_EQ(probe.id, pong);
    EXPECT_EQ(probe.data, nullptr);
    sender.QueueMessage(ping, &payload);
    EXPECT_EQ(probe.id, ping);
    EXPECT_EQ(probe.data, &payload);
}

TEST(Sender, ReachesReceiversWhoseMaskSharesABitWithTheClass) {
    struct Case {
        unsigned short mask;
        unsigned long id;
        bool heard;
    };
    const Case cases[] = {{0xFFFF, 0x00010000, true},  {0xFFFF, 0x80000000, true},
                          {0x0001, 0x00010000, true},  {0x0001, 0x00020000, false},
                          {0x0002, 0x00030000, true},  {0x8000, 0x80000001, true},
                          {0x7FFF, 0x80000001, false}, {0xFFFF, 0x0000FFFF, false},
                          {0x0000, 0x7FFF0000, false}, {0x0000, mesg_SenderDestroyed, true},
                          {0x0001, 0x00010001, true},  {0x0100, 0x01000000, true}};
    for (const Case& c : cases) {
        Log log;
        Listener listener("x", log);
        mesg_cSender sender;
        sender.AddReceiver(listener, c.mask);
        sender.SendMessage(c.id, nullptr);
        EXPECT_EQ(!log.empty(), c.heard) << std::hex << c.mask << " " << c.id;
    }
}

TEST_F(Messages, AreDeliveredInOrderOfRegistration) {
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping"));
}

TEST_F(Messages, RegisteringAgainReplacesTheMaskAndKeepsThePlace) {
    sender->AddReceiver(*a, mesg_Class(pong));
    sender->SendMessage(ping, nullptr);
    sender->SendMessage(pong, nullptr);
    EXPECT_THAT(log, ElementsAre("b ping", "c ping", "a pong", "b pong", "c pong"));
}

TEST_F(Messages, ARemovedReceiverHearsNothingMore) {
    sender->RemoveReceiver(*b);
    sender->RemoveReceiver(*b);
    sender->SendMessage(ping, nullptr);
    sender.reset();
    EXPECT_THAT(log, ElementsAre("a ping", "c ping", "a gone", "c gone"));
}

TEST_F(Messages, AReceiverThatComesBackIsLast) {
    sender->RemoveReceiver(*a);
    sender->AddReceiver(*a, mesg_AllClasses);
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("b ping", "c ping", "a ping"));
}

TEST_F(Messages, RemovingAStrangerDoesNothing) {
    mesg_cSender other;
    other.AddReceiver(*late, mesg_AllClasses);
    sender->RemoveReceiver(*late);
    sender->SendMessage(ping, nullptr);
    other.SendMessage(pong, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping", "late pong"));
}

TEST_F(Messages, RegisteringWithoutMemoryChangesNothing) {
    // Three blocks are needed: the sender's state, its list of receivers, the receiver's of
    // senders.
    int failures = 0;
    for (bool added = false; !added; ++failures) {
        mesg_cSender fresh;
        auto lonely = listener("lonely");
        {
            const FailingNew some(failures);
            try {
                fresh.AddReceiver(*lonely, mesg_AllClasses);
                added = true;
            } catch (const std::bad_alloc&) {
            }
        }
        fresh.SendMessage(ping, nullptr);
        EXPECT_EQ(log.size(), added ? 1u : 0u);
    }
    EXPECT_EQ(failures, 4);
    EXPECT_THAT(log, ElementsAre("lonely ping"));
}

// Lifetimes

TEST_F(Messages, ADyingReceiverLeavesItsSender) {
    b.reset();
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "c ping"));
}

TEST_F(Messages, ADyingReceiverLeavesAllItsSenders) {
    mesg_cSender second, third;
    second.AddReceiver(*a, mesg_AllClasses);
    third.AddReceiver(*a, mesg_AllClasses);
    third.AddReceiver(*b, mesg_AllClasses);
    a.reset();
    sender->SendMessage(ping, nullptr);
    second.SendMessage(ping, nullptr);
    third.SendMessage(pong, nullptr);
    EXPECT_THAT(log, ElementsAre("b ping", "c ping", "b pong"));
}

TEST_F(Messages, ADyingSenderTellsEveryReceiverOnceInOrderWhateverItsMask) {
    sender->AddReceiver(*b, 0);
    sender.reset();
    EXPECT_THAT(log, ElementsAre("a gone", "b gone", "c gone"));
    log.clear();
    a.reset(); // nothing is left to leave
}

TEST_F(Messages, ADyingSenderIsToldApartByItsAddress) {
    struct Derived : mesg_cSender {
        int own = 0;
    };
    auto derived = std::make_unique<Derived>();
    mesg_cSender* const address = derived.get();
    mesg_cSender* heard = nullptr;
    derived->AddReceiver(*late, 0);
    late->act = [&](unsigned long, mesg_cSender& from) { heard = &from; };
    derived.reset();
    EXPECT_EQ(heard, address);
}

TEST_F(Messages, ADyingSenderHasForgottenWhomItTells) {
    a->act = [&](unsigned long, mesg_cSender& from) {
        from.RemoveReceiver(*a);
        from.RemoveReceiver(*c);
    };
    sender.reset();
    EXPECT_THAT(log, ElementsAre("a gone", "b gone"));
}

TEST_F(Messages, ADyingSenderTakesNoReceiversAndSendsNothingElse) {
    a->act = [&](unsigned long, mesg_cSender& from) {
        from.AddReceiver(*late, mesg_AllClasses);
        from.AddReceiver(*a, mesg_AllClasses);
        from.SendMessage(ping, nullptr);
        from.QueueMessage(pong, nullptr);
        from.SendMessage(mesg_SenderDestroyed, nullptr);
    };
    sender.reset();
    EXPECT_THAT(log, ElementsAre("a gone", "b gone", "c gone"));
    late.reset();
    a.reset();
}

TEST_F(Messages, ReceiversMayDieAsTheirSenderDoes) {
    b->act = [&](unsigned long, mesg_cSender&) {
        a.reset();
        c.reset();
        b.reset();
    };
    auto d = listener("d");
    sender->AddReceiver(*d, mesg_AllClasses);
    sender.reset();
    EXPECT_THAT(log, ElementsAre("a gone", "b gone", "d gone"));
}

TEST_F(Messages, AnotherSenderMayDieAsOneDoes) {
    auto other = std::make_unique<mesg_cSender>();
    for (const auto& listener : {a.get(), b.get()})
        other->AddReceiver(*listener, mesg_AllClasses);
    a->act = [&](unsigned long, mesg_cSender&) { other.reset(); };
    sender.reset();
    EXPECT_THAT(log, ElementsAre("a gone", "a gone", "b gone", "b gone", "c gone"));
}

TEST_F(Messages, AnExceptionIsDroppedAsTheSenderDies) {
    a->act = [&](unsigned long, mesg_cSender&) { throw std::runtime_error("a"); };
    c->act = [&](unsigned long, mesg_cSender&) { throw 7; };
    sender.reset();
    EXPECT_THAT(log, ElementsAre("a gone", "b gone", "c gone"));
}

// Copies

TEST_F(Messages, ACopyOfASenderHasNoReceivers) {
    mesg_cSender copy(*sender);
    copy.SendMessage(ping, nullptr);
    EXPECT_THAT(log, IsEmpty());
    sender->SendMessage(ping, nullptr);
    EXPECT_EQ(log.size(), 3u);
}

TEST_F(Messages, MovingASenderLeavesItsReceiversWithIt) {
    {
        mesg_cSender moved(std::move(*sender));
        moved.SendMessage(ping, nullptr);
    }
    EXPECT_THAT(log, IsEmpty());
    sender->SendMessage(ping, nullptr);
    EXPECT_EQ(log.size(), 3u);
}

TEST_F(Messages, AssignmentOfASenderChangesNoRegistration) {
    mesg_cSender other;
    other.AddReceiver(*late, mesg_AllClasses);
    *sender = other;
    sender->SendMessage(ping, nullptr);
    other.SendMessage(pong, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping", "late pong"));
}

TEST_F(Messages, ACopyOfAReceiverListensToNothing) {
    {
        Listener copy(*a);
        sender->SendMessage(ping, nullptr);
        EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping"));
    }
    sender->SendMessage(pong, nullptr);
    EXPECT_EQ(log.size(), 6u);
}

TEST_F(Messages, AssignmentOfAReceiverChangesNoRegistration) {
    mesg_cSender other;
    other.AddReceiver(*late, mesg_AllClasses);
    *late = *a;
    sender->SendMessage(ping, nullptr);
    EXPECT_EQ(log.size(), 3u);
    other.SendMessage(pong, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping", "a pong"));
}

// Receivers that act during a delivery

TEST_F(Messages, AreDeliveredDepthFirst) {
    onPing(a, [&] { sender->SendMessage(pong, nullptr); });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "a pong", "b pong", "c pong", "b ping", "c ping"));
}

TEST_F(Messages, PassFromSenderToSenderBeforeTheCallReturns) {
    mesg_cSender second;
    second.AddReceiver(*late, mesg_AllClasses);
    onPing(b, [&] { second.SendMessage(pong, nullptr); });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "late pong", "c ping"));
}

TEST_F(Messages, WhoJoinsDuringADeliveryHearsTheNextMessageFirst) {
    onPing(a, [&] { sender->AddReceiver(*late, mesg_AllClasses); });
    sender->SendMessage(ping, nullptr);
    sender->SendMessage(pong, nullptr);
    EXPECT_THAT(
        log, ElementsAre("a ping", "b ping", "c ping", "a pong", "b pong", "c pong", "late pong"));
}

TEST_F(Messages, WhoJoinsDuringADeliveryHearsMessagesNestedInIt) {
    onPing(a, [&] {
        sender->AddReceiver(*late, mesg_AllClasses);
        sender->SendMessage(pong, nullptr);
    });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(
        log, ElementsAre("a ping", "a pong", "b pong", "c pong", "late pong", "b ping", "c ping"));
}

TEST_F(Messages, WhoLeavesAndComesBackDuringADeliveryDoesNotHearIt) {
    onPing(a, [&] {
        for (const auto& listener : {a.get(), c.get()}) {
            sender->RemoveReceiver(*listener);
            sender->AddReceiver(*listener, mesg_AllClasses);
        }
    });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping"));
    log.clear();
    sender->SendMessage(pong, nullptr);
    EXPECT_THAT(log, ElementsAre("b pong", "a pong", "c pong"));
}

TEST_F(Messages, AMaskReplacedDuringADeliveryHoldsAtOnce) {
    sender->AddReceiver(*b, mesg_Class(pong));
    onPing(a, [&] {
        sender->AddReceiver(*b, mesg_Class(ping));
        sender->AddReceiver(*c, mesg_Class(pong));
    });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping"));
}

TEST_F(Messages, AReceiverMayRemoveItselfDuringADelivery) {
    onPing(b, [&] { sender->RemoveReceiver(*b); });
    sender->SendMessage(ping, nullptr);
    sender->SendMessage(pong, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping", "a pong", "c pong"));
}

TEST_F(Messages, AReceiverMayRemoveOneBeforeItDuringADelivery) {
    onPing(b, [&] { sender->RemoveReceiver(*a); });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping"));
}

TEST_F(Messages, AReceiverMayRemoveOneAfterItDuringADelivery) {
    onPing(a, [&] { sender->RemoveReceiver(*b); });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "c ping"));
}

TEST_F(Messages, RemovingAndAddingTogetherDoesNotLetANewcomerIn) {
    onPing(a, [&] {
        sender->RemoveReceiver(*c);
        sender->AddReceiver(*late, mesg_AllClasses);
    });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping"));
}

TEST_F(Messages, AllMayBeRemovedDuringADelivery) {
    onPing(a, [&] {
        for (const auto& listener : {a.get(), b.get(), c.get()})
            sender->RemoveReceiver(*listener);
    });
    sender->SendMessage(ping, nullptr);
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping"));
}

TEST_F(Messages, AReceiverMayDestroyItselfDuringADelivery) {
    onPing(b, [&] { b.reset(); });
    sender->SendMessage(ping, nullptr);
    sender->SendMessage(pong, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping", "a pong", "c pong"));
}

TEST_F(Messages, AReceiverThatDiesDuringADeliveryIsSkipped) {
    onPing(b, [&] {
        a.reset();
        c.reset();
    });
    auto d = listener("d");
    sender->AddReceiver(*d, mesg_AllClasses);
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "d ping"));
}

TEST_F(Messages, ReceiversRemovedInANestedDeliveryAreSkippedInTheOuterOne) {
    onPing(a, [&] { sender->SendMessage(pong, nullptr); });
    c->act = [&](unsigned long id, mesg_cSender&) {
        if (id == pong) {
            a.reset();
            sender->RemoveReceiver(*b);
        }
    };
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "a pong", "b pong", "c pong", "c ping"));
}

TEST_F(Messages, TheSenderMayBeDestroyedDuringADelivery) {
    onPing(b, [&] { sender.reset(); });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "a gone", "b gone", "c gone"));
}

TEST_F(Messages, TheSenderMayBeDestroyedInANestedDelivery) {
    onPing(a, [&] { sender->SendMessage(pong, nullptr); });
    b->act = [&](unsigned long id, mesg_cSender&) {
        if (id == pong)
            sender.reset();
    };
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "a pong", "b pong", "a gone", "b gone", "c gone"));
}

TEST_F(Messages, SenderAndReceiversMayDieTogetherDuringADelivery) {
    onPing(b, [&] {
        sender.reset();
        a.reset();
        c.reset();
        b.reset();
    });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "a gone", "b gone", "c gone"));
}

TEST_F(Messages, TheLastReceiverMayDestroyTheSender) {
    onPing(c, [&] { sender.reset(); });
    sender->QueueMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping", "a gone", "b gone", "c gone"));
}

// The queue

TEST_F(Messages, QueuedOutsideADeliveryAreSentAtOnce) {
    sender->QueueMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping"));
}

TEST_F(Messages, QueuedDuringADeliveryFollowItInOrder) {
    onPing(a, [&] {
        sender->QueueMessage(pong, nullptr);
        sender->QueueMessage(ping, nullptr);
    });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping", "a pong", "b pong", "c pong",
                                 "a ping", "b ping", "c ping"));
}

TEST_F(Messages, QueuedBringTheirOwnData) {
    struct Probe : mesg_cReceiver {
        std::vector<mesg_sMessageData*> data;
        void ReceiveMessage(unsigned long, mesg_cSender&, mesg_sMessageData* d) override {
            data.push_back(d);
        }
    } probe;
    sender->AddReceiver(probe, mesg_AllClasses);
    Payload sent, first, second;
    onPing(a, [&] {
        sender->QueueMessage(pong, &first);
        sender->QueueMessage(pong, &second);
    });
    sender->SendMessage(ping, &sent);
    EXPECT_THAT(probe.data, ElementsAre(&sent, &first, &second));
}

TEST_F(Messages, QueuedInANestedDeliveryWaitForTheOutermostOne) {
    onPing(a, [&] { sender->SendMessage(pong, nullptr); });
    b->act = [&](unsigned long id, mesg_cSender&) {
        if (id == pong)
            sender->QueueMessage(dasl_SelectionChanged, nullptr);
    };
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "a pong", "b pong", "c pong", "b ping", "c ping", "a ?",
                                 "b ?", "c ?"));
}

TEST_F(Messages, QueuedWhileTheQueueEmptiesGoToItsEnd) {
    onPing(a, [&] {
        sender->QueueMessage(pong, nullptr);
        sender->QueueMessage(ping, nullptr);
    });
    c->act = [&](unsigned long id, mesg_cSender&) {
        if (id == pong)
            sender->QueueMessage(dasl_SelectionChanged, nullptr);
    };
    sender->RemoveReceiver(*b);
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(
        log, ElementsAre("a ping", "c ping", "a pong", "c pong", "a ping", "c ping", "a ?", "c ?"));
}

TEST_F(Messages, SentWhileTheQueueEmptiesAreDeliveredDepthFirst) {
    onPing(a, [&] {
        sender->QueueMessage(pong, nullptr);
        sender->QueueMessage(ping, nullptr);
    });
    b->act = [&](unsigned long id, mesg_cSender&) {
        if (id == pong)
            sender->SendMessage(dasl_SelectionChanged, nullptr);
    };
    sender->RemoveReceiver(*c);
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(
        log, ElementsAre("a ping", "b ping", "a pong", "b pong", "a ?", "b ?", "a ping", "b ping"));
}

TEST_F(Messages, QueuedReachThoseRegisteredWhenTheyAreSent) {
    onPing(a, [&] {
        sender->QueueMessage(pong, nullptr);
        sender->AddReceiver(*late, mesg_AllClasses);
        sender->RemoveReceiver(*b);
    });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "c ping", "a pong", "c pong", "late pong"));
}

TEST_F(Messages, QueuesOfDifferentSendersAreIndependent) {
    mesg_cSender other;
    other.AddReceiver(*late, mesg_AllClasses);
    onPing(a, [&] { other.QueueMessage(pong, nullptr); });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "late pong", "b ping", "c ping"));
}

TEST_F(Messages, QueuedAreDroppedWhenTheSenderDies) {
    onPing(a, [&] {
        sender->QueueMessage(pong, nullptr);
        sender.reset();
    });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "a gone", "b gone", "c gone"));
}

TEST_F(Messages, TheSenderMayBeDestroyedWhileTheQueueEmpties) {
    onPing(a, [&] {
        sender->QueueMessage(pong, nullptr);
        sender->QueueMessage(ping, nullptr);
    });
    b->act = [&](unsigned long id, mesg_cSender&) {
        if (id == pong)
            sender.reset();
    };
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping", "a pong", "b pong", "a gone",
                                 "b gone", "c gone"));
}

TEST_F(Messages, QueueingWithoutMemoryQueuesNothing) {
    onPing(a, [&] {
        sender->QueueMessage(pong, nullptr);
        const FailingNew none(0);
        EXPECT_THROW(sender->QueueMessage(pong, nullptr), std::bad_alloc);
    });
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping", "a pong", "b pong", "c pong"));
}

TEST_F(Messages, QueuedGoThroughTheSendersOwnSendMessage) {
    struct Counting : mesg_cSender {
        int sent = 0;
        void SendMessage(unsigned long id, mesg_sMessageData* data) override {
            ++sent;
            mesg_cSender::SendMessage(id, data);
        }
    } counting;
    counting.AddReceiver(*late, mesg_AllClasses);
    onPing(late, [&] { counting.QueueMessage(pong, nullptr); });
    counting.QueueMessage(ping, nullptr);
    EXPECT_EQ(counting.sent, 2);
    EXPECT_THAT(log, ElementsAre("late ping", "late pong"));
}

// Exceptions

TEST_F(Messages, AnExceptionEndsTheDeliveryAndLeavesTheRegistrations) {
    onPing(b, [] { throw std::runtime_error("b"); });
    EXPECT_THROW(sender->SendMessage(ping, nullptr), std::runtime_error);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping"));
    log.clear();
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping"));
}

TEST_F(Messages, AnExceptionDropsWhatIsQueued) {
    onPing(a, [&] { sender->QueueMessage(pong, nullptr); });
    onPing(b, [] { throw std::runtime_error("b"); });
    EXPECT_THROW(sender->SendMessage(ping, nullptr), std::runtime_error);
    sender->SendMessage(dasl_SelectionChanged, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "a ?", "b ?", "c ?"));
}

TEST_F(Messages, AnExceptionWhileTheQueueEmptiesDropsTheRest) {
    onPing(a, [&] {
        sender->QueueMessage(pong, nullptr);
        sender->QueueMessage(ping, nullptr);
    });
    b->act = [](unsigned long id, mesg_cSender&) {
        if (id == pong)
            throw std::runtime_error("b");
    };
    EXPECT_THROW(sender->SendMessage(ping, nullptr), std::runtime_error);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping", "a pong", "b pong"));
    log.clear();
    sender->QueueMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "c ping"));
}

TEST_F(Messages, AnExceptionCaughtInsideTheOuterDeliveryLetsItGoOn) {
    onPing(a, [&] {
        sender->QueueMessage(ping, nullptr);
        EXPECT_THROW(sender->SendMessage(pong, nullptr), std::runtime_error);
    });
    b->act = [](unsigned long id, mesg_cSender&) {
        if (id == pong)
            throw std::runtime_error("b");
    };
    sender->SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "a pong", "b pong", "b ping", "c ping", "a ping",
                                 "b ping", "c ping"));
}

TEST_F(Messages, AnExceptionMayFollowTheDeathOfTheSender) {
    onPing(b, [&] {
        sender->QueueMessage(pong, nullptr);
        sender.reset();
        throw std::runtime_error("b");
    });
    mesg_cSender* const dying = sender.get();
    EXPECT_THROW(dying->SendMessage(ping, nullptr), std::runtime_error);
    EXPECT_THAT(log, ElementsAre("a ping", "b ping", "a gone", "b gone", "c gone"));
}

// Both sides at once

TEST_F(Messages, RunDownAChainOfObjectsThatSendAndReceive) {
    struct Relay : mesg_cSender, mesg_cReceiver {
        void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override {
            if (id == rnge_1DRangeChanged)
                SendMessage(dasl_SelectionChanged, nullptr);
            else if (id == dasl_SelectionChanged)
                SendMessage(ping, nullptr);
        }
    };
    mesg_cSender range;
    auto selection = std::make_unique<Relay>();
    Relay function;
    range.AddReceiver(*selection, mesg_AllClasses);
    selection->AddReceiver(function, mesg_AllClasses);
    function.AddReceiver(*late, mesg_AllClasses);

    range.SendMessage(rnge_1DRangeChanged, nullptr);
    EXPECT_THAT(log, ElementsAre("late ping"));
    selection.reset();
    range.SendMessage(rnge_1DRangeChanged, nullptr);
    EXPECT_THAT(log, ElementsAre("late ping"));
}

template<class... Parts>
struct Echo : Parts... {
    int heard = 0;
    void ReceiveMessage(unsigned long, mesg_cSender&, mesg_sMessageData*) override { ++heard; }
};

template<class Parts>
class ListeningToItself : public testing::Test {};

using PartsInEitherOrder =
    testing::Types<Echo<mesg_cSender, mesg_cReceiver>, Echo<mesg_cReceiver, mesg_cSender>>;
TYPED_TEST_SUITE(ListeningToItself, PartsInEitherOrder);

TYPED_TEST(ListeningToItself, IsSafeWhicheverPartDiesFirst) {
    auto echo = std::make_unique<TypeParam>();
    echo->AddReceiver(*echo, mesg_AllClasses);
    echo->SendMessage(ping, nullptr);
    EXPECT_EQ(echo->heard, 1);
    echo.reset();
}

TEST_F(Messages, AReceiverThatLeavesAllHearsNoOneAnyMore) {
    mesg_cSender other;
    other.AddReceiver(*b, mesg_AllClasses);
    onPing(a, [&] { b->LeaveAll(); });
    sender->SendMessage(ping, nullptr);
    other.SendMessage(ping, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "c ping"));
    b->LeaveAll();
    other.AddReceiver(*b, mesg_AllClasses);
    other.SendMessage(pong, nullptr);
    EXPECT_THAT(log, ElementsAre("a ping", "c ping", "b pong"));
}

TEST_F(Messages, AReceiverMayLeaveAllWhenTheSenderDies) {
    a->act = [&](unsigned long, mesg_cSender&) { b->LeaveAll(); };
    sender.reset();
    EXPECT_THAT(log, ElementsAre("a gone", "c gone"));
}

TEST(Receiver, ThatLeavesAllIsNotCalledWhileItsOwnMembersGo) {
    /// A member that says when it goes, as ranges do, and one that must not be used then.
    class cOwner : public mesg_cReceiver {
    public:
        explicit cOwner(Log& log) : log_(log) {
            first_.AddReceiver(*this, mesg_AllClasses);
            second_->AddReceiver(*this, mesg_AllClasses);
        }
        cOwner(const cOwner&) = delete;
        cOwner& operator=(const cOwner&) = delete;
        ~cOwner() override { LeaveAll(); }
        void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override {
            log_.push_back(*name_ + " " + nameOf(id));
        }
        mesg_cSender& First() { return first_; }

    private:
        Log& log_;
        mesg_cSender first_;
        std::unique_ptr<mesg_cSender> second_ = std::make_unique<mesg_cSender>();
        std::unique_ptr<std::string> name_ = std::make_unique<std::string>("owner");
    };
    Log log;
    {
        cOwner owner(log);
        owner.First().SendMessage(ping, nullptr);
    }
    EXPECT_THAT(log, ElementsAre("owner ping"));
}

TEST(Receiver, IgnoresEverythingUnlessItIsOverridden) {
    struct Deaf : mesg_cReceiver {
    } deaf;
    mesg_cSender sender;
    sender.AddReceiver(deaf, mesg_AllClasses);
    EXPECT_NO_THROW(sender.SendMessage(ping, nullptr));
}

// The same random play on the library and on a plain model of the contract. The model never erases
// a registration: it numbers them, and strikes out those that have ended.

namespace {

constexpr int players = 4;

/// One cast of senders and receivers; `hear` is told of every message that arrives.
class Stage {
public:
    virtual ~Stage() = default;
    virtual void add(int sender, int receiver, unsigned short mask) = 0;
    virtual void remove(int sender, int receiver) = 0;
    virtual void send(int sender, unsigned long id) = 0;
    virtual void queue(int sender, unsigned long id) = 0;
    virtual void destroySender(int sender) = 0;
    virtual void destroyReceiver(int receiver) = 0;

    std::function<void(int sender, int receiver, unsigned long id)> hear;
};

class LibraryStage final : public Stage {
public:
    LibraryStage() {
        for (int i = 0; i < players; ++i) {
            senders_.push_back(std::make_unique<mesg_cSender>());
            addresses_.push_back(senders_.back().get());
            receivers_.push_back(std::make_unique<Player>(*this, i));
        }
    }
    void add(int s, int r, unsigned short mask) override {
        addresses_[index(s)]->AddReceiver(*receivers_[index(r)], mask);
    }
    void remove(int s, int r) override {
        addresses_[index(s)]->RemoveReceiver(*receivers_[index(r)]);
    }
    void send(int s, unsigned long id) override { addresses_[index(s)]->SendMessage(id, nullptr); }
    void queue(int s, unsigned long id) override {
        addresses_[index(s)]->QueueMessage(id, nullptr);
    }
    void destroySender(int s) override { delete senders_[index(s)].release(); }
    void destroyReceiver(int r) override { receivers_[index(r)].reset(); }

private:
    struct Player : mesg_cReceiver {
        Player(LibraryStage& s, int i) : stage(&s), number(i) {}
        void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData*) override {
            int from = 0;
            while (stage->addresses_[index(from)] != &sender)
                ++from;
            stage->hear(from, number, id);
        }
        LibraryStage* stage;
        int number;
    };
    static std::size_t index(int i) { return static_cast<std::size_t>(i); }

    std::vector<mesg_cSender*> addresses_;
    std::vector<std::unique_ptr<mesg_cSender>> senders_;
    std::vector<std::unique_ptr<Player>> receivers_;
};

class ModelStage final : public Stage {
public:
    void add(int s, int r, unsigned short mask) override {
        if (sender(s).leaving)
            return;
        for (Entry& entry : sender(s).entries)
            if (entry.valid && entry.receiver == r) {
                entry.mask = mask;
                return;
            }
        sender(s).entries.push_back({r, mask, true});
    }
    void remove(int s, int r) override {
        for (Entry& entry : sender(s).entries)
            if (entry.receiver == r)
                entry.valid = false;
    }
    void send(int s, unsigned long id) override {
        if (sender(s).leaving)
            return;
        ++sender(s).depth;
        deliver(s, id);
        while (sender(s).depth == 1 && !sender(s).queued.empty() && !sender(s).leaving) {
            const unsigned long next = sender(s).queued.front();
            sender(s).queued.erase(sender(s).queued.begin());
            send(s, next);
        }
        --sender(s).depth;
    }
    void queue(int s, unsigned long id) override {
        if (sender(s).depth > 0)
            sender(s).queued.push_back(id);
        else
            send(s, id);
    }
    void destroySender(int s) override {
        sender(s).leaving = true;
        for (std::size_t i = 0; i < sender(s).entries.size(); ++i)
            if (std::exchange(sender(s).entries[i].valid, false))
                hear(s, sender(s).entries[i].receiver, mesg_SenderDestroyed);
    }
    void destroyReceiver(int r) override {
        for (int s = 0; s < players; ++s)
            remove(s, r);
    }

private:
    struct Entry {
        int receiver;
        unsigned short mask;
        bool valid;
    };
    struct Sender {
        std::vector<Entry> entries;
        std::vector<unsigned long> queued;
        int depth = 0;
        bool leaving = false;
    };
    Sender& sender(int s) { return senders_[s]; }
    void deliver(int s, unsigned long id) {
        const std::size_t known = sender(s).entries.size();
        for (std::size_t i = 0; i < known && !sender(s).leaving; ++i) {
            const Entry entry = sender(s).entries[i];
            if (entry.valid && (entry.mask & (id >> 16)) != 0)
                hear(s, entry.receiver, id);
        }
    }
    Sender senders_[players];
};

/// A play: random acts, and more of them whenever somebody hears something.
class Play {
public:
    Play(Stage& stage, unsigned seed) : stage_(stage), random_(seed) {
        stage_.hear = [this](int sender, int receiver, unsigned long id) {
            log_.push_back(std::to_string(sender) + ">" + std::to_string(receiver) + " " +
                           std::to_string(id >> 16));
            if (--budget_ < 0)
                return;
            for (int acts = pick(3); acts > 0; --acts)
                act();
        };
        for (int acts = 0; acts < 60; ++acts)
            act();
        for (int i = 0; i < players; ++i) {
            if (std::exchange(senderLives_[i], false))
                stage_.destroySender(i);
            if (std::exchange(receiverLives_[i], false))
                stage_.destroyReceiver(i);
        }
    }
    const Log& log() const { return log_; }

private:
    int pick(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }

    void act() {
        const int sender = pick(players), receiver = pick(players), kind = pick(32);
        const unsigned long id = (1ul << (16 + pick(3))) | 1;
        const auto mask = static_cast<unsigned short>(pick(8));
        if (kind == 0 && receiverLives_[receiver]) {
            receiverLives_[receiver] = false;
            stage_.destroyReceiver(receiver);
        } else if (kind == 1 && senderLives_[sender]) {
            senderLives_[sender] = false;
            stage_.destroySender(sender);
        } else if (!senderLives_[sender]) {
            return;
        } else if (kind < 12 && receiverLives_[receiver]) {
            stage_.add(sender, receiver, mask);
        } else if (kind < 16 && receiverLives_[receiver]) {
            stage_.remove(sender, receiver);
        } else if (kind < 24) {
            stage_.send(sender, id);
        } else {
            stage_.queue(sender, id);
        }
    }

    Stage& stage_;
    std::mt19937 random_;
    Log log_;
    int budget_ = 150;
    bool senderLives_[players] = {true, true, true, true};
    bool receiverLives_[players] = {true, true, true, true};
};

} // namespace

TEST(RandomPlay, GoesAsThePlainModelSays) {
    std::size_t heard = 0, senderDeaths = 0;
    for (unsigned seed = 0; seed < 2000; ++seed) {
        LibraryStage library;
        ModelStage model;
        const Log ours = Play(library, seed).log();
        ASSERT_EQ(ours, Play(model, seed).log()) << "seed " << seed;
        heard += ours.size();
        for (const std::string& line : ours)
            senderDeaths += line.ends_with(" 65535");
    }
    // The plays are worth something.
    EXPECT_GT(heard, 50000u);
    EXPECT_GT(senderDeaths, 1000u);
}
