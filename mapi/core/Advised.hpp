// What stands between a client's notifications and the sinks of the object they are about: a table or a store.
#pragma once

#include "mapi/core/ComObject.hpp"
#include "mapi/core/FirstFailure.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"
#include "mapi/headers/uKwMAPITypesH.hpp"

#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace deftmapi
{

/// The sinks of an owner and the connection that the client tells them through. It outlives the owner while a
/// notification is being delivered: a sink may end the notifications, or destroy the owner, and nobody needs a
/// reference that would make the client's thread destroy it. The owner has `OnNotify` as in IMAPIAdviseSink.
/// Threads: any. The owner is not destroyed by another thread while its sinks are called.
template <class Owner, class Events>
class TKwAdvised : public std::enable_shared_from_this<TKwAdvised<Owner, Events>>
{
public:
    explicit TKwAdvised(Owner& owner) : FOwner(&owner) {}

    TKwEventConnections<Events> Sinks;

    [[nodiscard]] bool IsAdvised() const noexcept
    {
        const std::lock_guard lock(FAdviseLock);
        return FSink != nullptr;
    }

    /// What the client said.
    struct TAnswer
    {
        mapi::HRESULT Result;
        mapi::ULONG_PTR Connection; ///< 0: none
        bool Ended; ///< by a sink that was called before the client had answered: the connection is the caller's to end
    };
    /// Asks the client for notifications, which may come at once. Nothing where there is a connection already.
    /// @param ask  mapi::HRESULT(mapi::IMAPIAdviseSink*, mapi::ULONG_PTR* connection)
    template <typename Ask>
    [[nodiscard]] std::optional<TAnswer> Advise(Ask ask)
    {
        const TKwComPtr<TSink> sink(new TSink(this->shared_from_this()));
        {
            const std::lock_guard lock(FAdviseLock);
            if (FSink != nullptr)
                return std::nullopt;
            FSink = sink;
        }
        mapi::ULONG_PTR connection = 0;
        const mapi::HRESULT hr = ask(sink.Get(), &connection);
        const std::lock_guard lock(FAdviseLock);
        const bool ended = FSink != sink;
        if (!ended && mapi::Failed(hr))
            FSink = nullptr;
        else if (!ended)
            FConnection = connection;
        return TAnswer{hr, connection, ended};
    }

    /// Ends the notifications and waits for one that is being delivered on another thread.
    /// @param unadvise  mapi::HRESULT(mapi::ULONG_PTR connection); not called where there is no connection
    template <typename Unadvise>
    [[nodiscard]] mapi::HRESULT End(Unadvise unadvise)
    {
        TKwComPtr<TSink> sink; // released when nothing is locked any more
        mapi::ULONG_PTR connection = 0;
        {
            const std::lock_guard lock(FAdviseLock);
            sink = std::exchange(FSink, nullptr); // from here on it hands on nothing
            connection = std::exchange(FConnection, 0);
        }
        const mapi::HRESULT hr = connection != 0 ? unadvise(connection) : mapi::S_OK;
        // Not before: a client may wait in Unadvise for what it is delivering. A sink may still be running, also when
        // it has ended the notifications itself.
        const std::lock_guard wait(FLock);
        return hr;
    }

    /// The owner is about to be destroyed. The client may keep its sink, and with it this, for longer: the sinks go
    /// now.
    void Forget()
    {
        TKwComPtr<TSink> sink; // both hold each other, should somebody have asked again since the end
        {
            const std::lock_guard lock(FLock);
            FOwner = nullptr;
            const std::lock_guard adviseLock(FAdviseLock);
            sink = std::exchange(FSink, nullptr);
        }
        Sinks.DisconnectAll();
    }

    /// Hands each notification to the owner while it lives.
    /// @param tell  void(Owner&, const mapi::NOTIFICATION&)
    template <typename Tell>
    void ForEach(mapi::ULONG count, const mapi::NOTIFICATION* notifications, Tell tell)
    {
        const auto self = this->shared_from_this();
        const std::lock_guard lock(FLock);
        for (mapi::ULONG i = 0; i < count && FOwner != nullptr; ++i)
            tell(*FOwner, notifications[i]);
    }

    /// Calls every sink, unless one of them destroys the owner. One that fails takes nothing from the others; the first
    /// failure is raised when KwCallServerSink lets it out.
    /// @param call  void(Events&, Owner&)
    template <typename Call>
    void Dispatch(Call call)
    {
        const auto self = this->shared_from_this();
        const std::lock_guard lock(FLock);
        TFirstFailure failure;
        Sinks.ForEach([&](Events& sink) {
            if (FOwner != nullptr)
                failure.Keep([&] { KwCallServerSink([&] { call(sink, *FOwner); }); });
        });
        failure.Raise();
    }

private:
    /// The object that the client calls. The client may keep it and call it after the owner has ended its notifications
    /// or is gone: nothing happens then.
    class TSink final : public TKwComObject<mapi::IMAPIAdviseSink, mapi::IID_IMAPIAdviseSink>
    {
    public:
        explicit TSink(std::shared_ptr<TKwAdvised> advised) : FAdvised(std::move(advised)) {}

        mapi::ULONG DEFTMAPI_STDCALL OnNotify(mapi::ULONG count, mapi::LPNOTIFICATION notifications) override
        {
            const TKwComPtr<TSink> self(this);
            const std::lock_guard lock(FAdvised->FLock);
            for (mapi::ULONG i = 0; i < count && FAdvised->Tells(*this); ++i) {
                // Nothing may be thrown through the client's code.
                try {
                    FAdvised->FOwner->OnNotify(1, &notifications[i]);
                } catch (...) {
                    KwReportServerException(std::current_exception());
                }
            }
            return 0;
        }

    private:
        ~TSink() override = default;

        const std::shared_ptr<TKwAdvised> FAdvised;
    };

    /// Whether the owner lives and still has this sink. REQUIRES: FLock is held.
    [[nodiscard]] bool Tells(const TSink& sink) const noexcept
    {
        const std::lock_guard lock(FAdviseLock);
        return FOwner != nullptr && FSink.Get() == &sink;
    }

    std::recursive_mutex FLock;     // held while sinks are called, which may call back
    Owner* FOwner;                  // null once it is being destroyed; under FLock
    mutable std::mutex FAdviseLock; // for what follows; not held during calls of the client
    TKwComPtr<TSink> FSink;         // null while not advised
    mapi::ULONG_PTR FConnection = 0;
};

} // namespace deftmapi
