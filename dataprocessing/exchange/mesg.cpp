#include "dataprocessing/exchange/mesg.h"

#include <algorithm>
#include <cstddef>
#include <list>

namespace {

struct sRegistration {
    mesg_cReceiver* receiver;
    unsigned short mask;
};

struct sQueuedMessage {
    unsigned long id;
    mesg_sMessageData* data;
};

bool hears(const sRegistration& registration, unsigned long id) {
    return id == mesg_SenderDestroyed || (registration.mask & mesg_Class(id)) != 0;
}

} // namespace

struct mesg_cSender::sState {
    std::vector<sRegistration> receivers;
    std::list<sQueuedMessage> queue;
    sDelivery* innermost = nullptr;
    bool leaving = false;

    auto Find(const mesg_cReceiver& receiver) {
        return std::find_if(receivers.begin(), receivers.end(),
                            [&](const sRegistration& r) { return r.receiver == &receiver; });
    }
};

// One running SendMessage: the receivers from `next` to `end` are still to hear the message.
struct mesg_cSender::sDelivery {
    std::size_t next;
    std::size_t end;
    sDelivery* outer;
    // A sender that dies while it delivers leaves its state to its outermost delivery.
    std::unique_ptr<sState, sDeleteState> orphan;
};

// A delivery is the innermost one of its sender as long as this lives.
class mesg_cSender::cRunning {
public:
    cRunning(sState& state, sDelivery& delivery) : state_(state), outer_(delivery.outer) {
        state.innermost = &delivery;
    }
    ~cRunning() {
        state_.innermost = outer_;
        if (!outer_)
            state_.queue.clear();
    }
    cRunning(const cRunning&) = delete;
    cRunning& operator=(const cRunning&) = delete;

private:
    sState& state_;
    sDelivery* outer_;
};

void mesg_cSender::sDeleteState::operator()(sState* state) const noexcept { delete state; }

mesg_sMessageData::~mesg_sMessageData() = default;

mesg_cReceiver::~mesg_cReceiver() { LeaveAll(); }

void mesg_cReceiver::LeaveAll() noexcept {
    for (mesg_cSender* sender : senders_)
        sender->Forget(*this);
    senders_.clear();
}

// Not pure: a receiver that is also a sender may reach itself when it is half destroyed.
void mesg_cReceiver::ReceiveMessage(unsigned long, mesg_cSender&, mesg_sMessageData*) {}

void mesg_cSender::AddReceiver(mesg_cReceiver& receiver, unsigned short mask) {
    if (!state_)
        state_.reset(new sState);
    if (state_->leaving)
        return;
    if (const auto known = state_->Find(receiver); known != state_->receivers.end()) {
        known->mask = mask;
        return;
    }
    state_->receivers.push_back({&receiver, mask});
    try {
        receiver.senders_.push_back(this);
    } catch (...) {
        state_->receivers.pop_back();
        throw;
    }
}

void mesg_cSender::RemoveReceiver(mesg_cReceiver& receiver) {
    if (std::erase(receiver.senders_, this) != 0)
        Forget(receiver);
}

void mesg_cSender::QueueMessage(unsigned long id, mesg_sMessageData* data) {
    if (state_ && state_->innermost)
        state_->queue.push_back({id, data});
    else
        SendMessage(id, data);
}

void mesg_cSender::SendMessage(unsigned long id, mesg_sMessageData* data) {
    if (!state_ || state_->leaving)
        return;
    sState& state = *state_;
    sDelivery delivery{0, state.receivers.size(), state.innermost, nullptr};
    const cRunning running(state, delivery);

    while (delivery.next < delivery.end) {
        const sRegistration registration = state.receivers[delivery.next++];
        if (!hears(registration, id))
            continue;
        registration.receiver->ReceiveMessage(id, *this, data);
        if (state.leaving)
            return;
    }
    // This counts as delivering still: what is queued meanwhile goes to the end of the queue.
    while (!delivery.outer && !state.queue.empty()) {
        const sQueuedMessage message = state.queue.front();
        state.queue.pop_front();
        SendMessage(message.id, message.data);
        if (state.leaving)
            return;
    }
}

void mesg_cSender::TakeLeave() noexcept {
    state_->leaving = true;
    std::reverse(state_->receivers.begin(), state_->receivers.end());
    while (!state_->receivers.empty()) {
        mesg_cReceiver& receiver = *state_->receivers.back().receiver;
        state_->receivers.pop_back();
        std::erase(receiver.senders_, this);
        try {
            receiver.ReceiveMessage(mesg_SenderDestroyed, *this, nullptr);
        } catch (...) {
            // A destructor has no one to tell, and the other receivers must still hear.
            continue;
        }
    }
    for (sDelivery* delivery = state_->innermost; delivery; delivery = delivery->outer)
        if (!delivery->outer)
            delivery->orphan = std::move(state_);
}

void mesg_cSender::Forget(const mesg_cReceiver& receiver) noexcept {
    const auto gone = state_->Find(receiver);
    const auto place = static_cast<std::size_t>(gone - state_->receivers.begin());
    state_->receivers.erase(gone);
    for (sDelivery* delivery = state_->innermost; delivery; delivery = delivery->outer) {
        if (place < delivery->next)
            --delivery->next;
        if (place < delivery->end)
            --delivery->end;
    }
}
