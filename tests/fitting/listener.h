#pragma once

/// A receiver that writes down what it hears.

#include <functional>
#include <vector>

#include "dataprocessing/exchange/mesg.h"

class Listener final : public mesg_cReceiver {
public:
    /// Hears everything of `sender`; needs no memory for the first messages.
    explicit Listener(mesg_cSender& sender) {
        heard.reserve(16);
        senders.reserve(16);
        sender.AddReceiver(*this, mesg_AllClasses);
    }

    void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) override {
        heard.push_back(id);
        senders.push_back(&sender);
        carriedData = carriedData || data != nullptr;
        if (act)
            act();
    }

    /// What was heard since the last call.
    std::vector<unsigned long> take() {
        std::vector<unsigned long> result;
        result.swap(heard);
        return result;
    }

    std::vector<unsigned long> heard;
    std::vector<mesg_cSender*> senders;
    bool carriedData = false;
    std::function<void()> act;
};
