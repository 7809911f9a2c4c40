#pragma once

/// @file
/// Messages between objects: senders, receivers, and the ids of the messages that the library
/// sends.
///
/// A receiver registers with any number of senders. All delivery is synchronous, on the thread of
/// the call that sends, and depth first: a message that a receiver sends while it handles another
/// is delivered in full before the other goes on. Senders and receivers may be destroyed in any
/// order and at any time, also while a message is being delivered.

#include <memory>
#include <vector>

#include "dataprocessing/dataprocessing_export.h"

class mesg_cSender;

/// Message id: a range moved. Sent by `rnge_c1DRange`.
inline constexpr unsigned long rnge_1DRangeChanged = 0x00010001;
/// Message id: the ranges of a selection changed. Sent by `dasl_c1DDataArraySelection`.
inline constexpr unsigned long dasl_SelectionChanged = 0x00020001;
/// Message id: the fit of a function no longer holds. Sent by `ftfn_c1DFittingFunction`.
inline constexpr unsigned long ftfn_FunctionChanged = 0x00040001;
/// Message id: the sender is being destroyed. Sent by every sender's destructor to all of its
/// receivers, whatever their mask.
inline constexpr unsigned long mesg_SenderDestroyed = 0xFFFF0001;

/// The mask of a receiver that hears every class of message.
inline constexpr unsigned short mesg_AllClasses = 0xFFFF;

/// The class of a message: bits 16 to 31 of its id. A message of class 0 is heard by no one.
constexpr unsigned short mesg_Class(unsigned long id) noexcept {
    return static_cast<unsigned short>((id >> 16) & 0xFFFF);
}

/// What a message may carry beside its id: derive from it. The data belong to the caller of
/// `SendMessage` or `QueueMessage`; nobody else deletes them, and a receiver must not keep them.
struct DATAPROCESSING_EXPORT mesg_sMessageData {
    mesg_sMessageData() = default;                                    ///< An empty payload.
    mesg_sMessageData(const mesg_sMessageData&) = default;            ///< A copy.
    mesg_sMessageData& operator=(const mesg_sMessageData&) = default; ///< Becomes a copy.
    virtual ~mesg_sMessageData();
};

/// An object that messages reach. Derive from it and override `ReceiveMessage`.
///
/// Registration belongs to the object, not to its value: a copy listens to nothing, assignment
/// changes no registration, and destruction leaves all senders.
///
/// **The destructor of a class that overrides `ReceiveMessage` calls `LeaveAll` first.** The base
/// leaves the senders only after the members of the class have gone. A message that is sent in
/// between would reach an object of which parts are missing; a sender among the members, to which
/// the object listens, always sends one, `mesg_SenderDestroyed`.
///
///     class cWindow : public mesg_cReceiver {
///     public:
///         cWindow() { range_.AddReceiver(*this, mesg_AllClasses); }
///         ~cWindow() override { LeaveAll(); }
///         void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override;
///     private:
///         rnge_c1DRange range_;
///     };
class DATAPROCESSING_EXPORT mesg_cReceiver {
protected:
    /// Leaves every sender that this receiver is registered with. A delivery under way skips it.
    virtual ~mesg_cReceiver();

public:
    /// Leaves every sender that this receiver is registered with: from then on it hears nothing
    /// more, not even of a delivery under way, unless it registers anew.
    void LeaveAll() noexcept;

    /// Handles message `id` of `sender`, with the data of the message or null. The base does
    /// nothing.
    ///
    /// A handler may do anything to the sender and to other objects: send, add and remove
    /// receivers, destroy receivers, itself included, and the sender. With `mesg_SenderDestroyed`
    /// the sender has become a plain `mesg_cSender` that is told apart by its address only, and has
    /// already forgotten this receiver.
    virtual void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data);

protected:
    /// A receiver that listens to nothing.
    mesg_cReceiver() noexcept = default;
    /// A receiver that listens to nothing.
    mesg_cReceiver(const mesg_cReceiver&) noexcept {}
    /// Changes nothing.
    mesg_cReceiver& operator=(const mesg_cReceiver&) noexcept { return *this; }

private:
    friend class mesg_cSender;
    std::vector<mesg_cSender*> senders_;
};

/// An object that sends messages to the receivers registered with it.
///
/// Registration belongs to the object, not to its value: a copy has no receivers and assignment
/// changes no registration. A sender without receivers costs two words and never allocates.
///
///     range.AddReceiver(view, mesg_Class(rnge_1DRangeChanged));
class DATAPROCESSING_EXPORT mesg_cSender {
public:
    /// Sends `mesg_SenderDestroyed`, with no data, to every receiver in order of registration, each
    /// being forgotten just before it hears it; an exception that a receiver throws is dropped.
    /// Deliveries of this sender that are under way end without reaching further receivers, and
    /// queued messages are dropped.
    virtual ~mesg_cSender() {
        if (state_)
            TakeLeave();
    }

    /// Registers `receiver` at the end of the order of delivery; it hears messages whose class
    /// shares a bit with `mask`. A receiver that is registered already keeps its place and gets the
    /// new mask, which holds at once. A receiver that joins while a message is being delivered does
    /// not hear that message, but does hear those sent or queued later. During
    /// `mesg_SenderDestroyed` it does nothing. On `std::bad_alloc` nothing has changed.
    virtual void AddReceiver(mesg_cReceiver& receiver, unsigned short mask);

    /// Removes `receiver`; does nothing when it is not registered. From then on it hears nothing
    /// more of this sender, not even of a delivery under way.
    virtual void RemoveReceiver(mesg_cReceiver& receiver);

    /// Sends the message at once when this sender is not delivering one; otherwise as soon as the
    /// outermost delivery has ended, before the call that started it returns, in the order in which
    /// messages were queued. `data` must stay valid until then. A queued message reaches the
    /// receivers that are registered when it is sent. It is dropped when the sender is destroyed or
    /// when an exception ends the outermost delivery. On `std::bad_alloc` it is not queued.
    virtual void QueueMessage(unsigned long id, mesg_sMessageData* data);

    /// Delivers the message to every receiver whose mask shares a bit with its class (to all, for
    /// `mesg_SenderDestroyed`), in order of registration, also from within a delivery. `data` may
    /// be null. During `mesg_SenderDestroyed` it does nothing.
    ///
    /// An exception that a receiver throws ends the delivery and passes to the caller: receivers
    /// further on do not hear the message, and all of them stay registered.
    virtual void SendMessage(unsigned long id, mesg_sMessageData* data);

    /// A sender without receivers.
    mesg_cSender() noexcept = default;
    /// A sender without receivers.
    mesg_cSender(const mesg_cSender&) noexcept {}
    /// Changes nothing.
    mesg_cSender& operator=(const mesg_cSender&) noexcept { return *this; }

private:
    friend class mesg_cReceiver;
    struct sState;
    struct sDelivery;
    class cRunning;
    struct sDeleteState {
        DATAPROCESSING_EXPORT void operator()(sState* state) const noexcept;
    };

    void TakeLeave() noexcept;
    void Forget(const mesg_cReceiver& receiver) noexcept;

    std::unique_ptr<sState, sDeleteState> state_;
};
