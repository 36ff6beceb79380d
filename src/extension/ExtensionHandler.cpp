#include "extension/ExtensionHandler.h"

#include "app/Log.h"
#include "app/Window.h"
#include "capture/SavePasswordController.h"
#include "core/HostnameInfo.h"
#include "core/Inventory.h"
#include "core/Locker.h"
#include "extension/BrowserController.h"
#include "extension/ExtClickedEvent.h"
#include "extension/ExtensionError.h"
#include "extension/ExtensionServer.h"
#include "extension/LockCheckEvent.h"
#include "extension/LockStateEvent.h"
#include "extension/ProvideEvent.h"
#include "extension/RequestEvent.h"
#include "extension/SearchEvent.h"
#include "extension/StoreEvent.h"
#include "extension/SuggestEvent.h"
#include "websocket/WebSocket.h"

#include <QCursor>

#include <memory>

namespace pexi {

void ExtensionHandler::install(ExtensionServer &server)
{
    install(server, Services());
}

void ExtensionHandler::install(ExtensionServer &server, Services services)
{
    // Shared by the registered closures; lives as long as the server keeps them.
    const auto handler =
        std::shared_ptr<ExtensionHandler>(new ExtensionHandler(std::move(services)));
    server.registerHandler(Command::EXT_CLICKED, [handler](WebSocket *, const MiniAppEvent &event) {
        handler->extensionIconClicked(event);
    });
    server.registerHandler(Command::CREDS_SEARCH,
                           [handler](WebSocket *socket, const MiniAppEvent &event) {
                               handler->credentialSearch(socket, event);
                           });
    server.registerHandler(Command::LOCK_CHECK,
                           [handler](WebSocket *socket, const MiniAppEvent &event) {
                               handler->lockCheck(socket, event);
                           });
    // Registered a second time through a thin wrapper: every lock check is answered twice.
    // Extensions in the field count on the second answer, so it stays.
    const auto lockCheckAgain = [handler](WebSocket *socket, const MiniAppEvent &event) {
        handler->lockCheck(socket, event);
    };
    server.registerHandler(Command::LOCK_CHECK, lockCheckAgain);
    server.registerHandler(Command::CREDS_REQUEST,
                           [handler](WebSocket *socket, const MiniAppEvent &event) {
                               handler->credentialRequest(socket, event);
                           });
    server.registerHandler(Command::CREDS_STORE, [handler](WebSocket *, const MiniAppEvent &event) {
        handler->storeCredential(event);
    });
    server.registerHandler(Command::CREDS_COMMIT, [handler](WebSocket *, const MiniAppEvent &) {
        handler->commitCredential();
    });
    server.registerHandler(Command::CREDS_ABORT, [handler](WebSocket *, const MiniAppEvent &) {
        handler->abortCredential();
    });
}

ExtensionHandler::ExtensionHandler(Services services) : m_services(std::move(services))
{
}

Locker &ExtensionHandler::locker() const
{
    return m_services.locker ? *m_services.locker : Locker::instance();
}

BrowserController &ExtensionHandler::browsers() const
{
    return m_services.browsers ? *m_services.browsers : BrowserController::instance();
}

SavePasswordController &ExtensionHandler::capture() const
{
    return m_services.capture ? *m_services.capture : SavePasswordController::instance();
}

Window &ExtensionHandler::window() const
{
    return m_services.window ? *m_services.window : Window::shared();
}

void ExtensionHandler::extensionIconClicked(const MiniAppEvent &event)
{
    const auto &clicked = static_cast<const ExtClickedEvent &>(event);
    const QPointF point = clicked.coordinates().value_or(
        m_services.mouseLocation ? m_services.mouseLocation() : QPointF(QCursor::pos()));
    window().showAt(point);
}

void ExtensionHandler::credentialSearch(WebSocket *socket, const MiniAppEvent &event)
{
    const auto *search = dynamic_cast<const SearchEvent *>(&event);
    if (!search)
        return;
    if (locker().lockState() == LockState::locked) {
        logLine(QStringLiteral("got a search event, but inventory was locked"));
        return;
    }
    std::optional<HostnameInfo> host;
    try {
        host = HostnameInfo::fromString(search->site());
    } catch (const HostnameError &) {
        logLine(QStringLiteral("unable to parse host info from search event"));
        return;
    }
    // The inventory indexes items by registrable domain, which is exactly what a match with
    // subdomains ignored compares; the result comes back in inventory order.
    QList<PartialCredential> credentials;
    locker().runWithInventory([&](Inventory &inventory) {
        for (const InventoryItem &item : inventory.itemsMatchingHost(*host))
            credentials.append({item.username(), item.uuid(), item.title(), item.site()});
    });
    try {
        socket->sendTextMessage(
            SuggestEvent(search->session(), credentials, browsers().loginUUID(search->site()))
                .toJson());
        logLine(QStringLiteral("sent SUGGEST"));
    } catch (const ExtensionError &) {
        logLine(QStringLiteral("serializing suggest event failed"));
    }
}

void ExtensionHandler::lockCheck(WebSocket *socket, const MiniAppEvent &event)
{
    const auto *check = dynamic_cast<const LockCheckEvent *>(&event);
    try {
        if (!check)
            throw ExtensionError(ExtensionError::Kind::eventTypeError);
        const bool locked = locker().lockState() == LockState::locked;
        socket->sendTextMessage(LockStateEvent(check->session(), locked).toJson([this] {
            return locker().lockState();
        }));
    } catch (const ExtensionError &) {
        logLine(QStringLiteral("serializing lock state failed"));
    }
}

void ExtensionHandler::credentialRequest(WebSocket *socket, const MiniAppEvent &event)
{
    const auto *request = dynamic_cast<const RequestEvent *>(&event);
    if (!request)
        return;
    // Uuids are unique in the vault, so the listed item with this uuid is the only one.
    std::optional<InventoryItem> found;
    locker().runWithInventory(
        [&](Inventory &inventory) { found = inventory.item(request->uuid()); });
    if (!found || found->deleted()) {
        logLine(QStringLiteral("item missing for uuid-based request!"));
        return;
    }
    const Credential credential{found->username(), found->password(), found->title(), found->uuid(),
                                found->site()};
    try {
        socket->sendTextMessage(ProvideEvent(credential, request->session()).toJson());
        logLine(QStringLiteral("sent PROVIDE"));
    } catch (const ExtensionError &) {
        logLine(QStringLiteral("serializing provide event failed"));
    }
}

void ExtensionHandler::storeCredential(const MiniAppEvent &event)
{
    const auto *store = dynamic_cast<const StoreEvent *>(&event);
    if (!store)
        return;
    // A title from the site wins over the page title the extension sends.
    const QString title =
        SavePasswordController::guessTitleForSite(store->site()).value_or(store->title());
    const InventoryItem item(title, store->username(), store->password(), store->site());
    if (item.password().isEmpty())
        return;
    capture().setPendingItem(item);
}

void ExtensionHandler::commitCredential()
{
    capture().commitProvisionalItem();
}

void ExtensionHandler::abortCredential()
{
    capture().abortProvisionalItem();
}

} // namespace pexi
