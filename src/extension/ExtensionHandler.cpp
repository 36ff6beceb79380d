#include "extension/ExtensionHandler.h"

#include "capture/SavePasswordController.h"
#include "capture/WindowPresenter.h"
#include "core/HostnameInfo.h"
#include "core/Inventory.h"
#include "core/Locker.h"
#include "core/Log.h"
#include "extension/BrowserController.h"
#include "extension/ExtClickedEvent.h"
#include "extension/ExtensionServer.h"
#include "extension/LockCheckEvent.h"
#include "extension/LockStateEvent.h"
#include "extension/ProvideEvent.h"
#include "extension/RequestEvent.h"
#include "extension/SearchEvent.h"
#include "extension/StoreEvent.h"
#include "extension/SuggestEvent.h"
#include "websocket/WebSocket.h"

#include <functional>
#include <memory>
#include <utility>

namespace pexi {

namespace {

using Answer = void (ExtensionHandler::*)(WebSocket *, const MiniAppEvent &);

} // namespace

void ExtensionHandler::install(ExtensionServer &server, Services services)
{
    // The lock check is in the table twice: every check is answered twice. Extensions in the
    // field count on the second answer, so it stays.
    const std::pair<Command, Answer> table[] = {
        {Command::EXT_CLICKED, &ExtensionHandler::extensionIconClicked},
        {Command::CREDS_SEARCH, &ExtensionHandler::credentialSearch},
        {Command::LOCK_CHECK, &ExtensionHandler::lockCheck},
        {Command::LOCK_CHECK, &ExtensionHandler::lockCheck},
        {Command::CREDS_REQUEST, &ExtensionHandler::credentialRequest},
        {Command::CREDS_STORE, &ExtensionHandler::storeCredential},
        {Command::CREDS_COMMIT, &ExtensionHandler::commitCredential},
        {Command::CREDS_ABORT, &ExtensionHandler::abortCredential},
    };
    // Shared by the registered closures; lives as long as the server keeps them.
    const auto handler =
        std::shared_ptr<ExtensionHandler>(new ExtensionHandler(std::move(services)));
    for (const auto &[command, answer] : table) {
        server.registerHandler(
            command, [handler, call = answer](WebSocket *socket, const MiniAppEvent &event) {
                std::invoke(call, *handler, socket, event);
            });
    }
}

ExtensionHandler::ExtensionHandler(Services services) : m_services(std::move(services))
{
}

void ExtensionHandler::extensionIconClicked(WebSocket *, const MiniAppEvent &event)
{
    const auto *clicked = dynamic_cast<const ExtClickedEvent *>(&event);
    if (!clicked)
        return;
    m_services.window.showAt(clicked->coordinates().value_or(m_services.mouseLocation()));
}

void ExtensionHandler::credentialSearch(WebSocket *socket, const MiniAppEvent &event)
{
    const auto *search = dynamic_cast<const SearchEvent *>(&event);
    if (!search)
        return;
    if (m_services.locker.lockState() == LockState::locked) {
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
    m_services.locker.runWithInventory([&](Inventory &inventory) {
        for (const InventoryItem &item : inventory.itemsMatchingHost(*host))
            credentials.append({item.username(), item.uuid(), item.title(), item.site()});
    });
    socket->sendTextMessage(
        SuggestEvent(search->session(), credentials, m_services.browsers.loginUUID(search->site()))
            .toJson());
    logLine(QStringLiteral("sent SUGGEST"));
}

void ExtensionHandler::lockCheck(WebSocket *socket, const MiniAppEvent &event)
{
    const auto *check = dynamic_cast<const LockCheckEvent *>(&event);
    if (!check)
        return;
    const bool locked = m_services.locker.lockState() == LockState::locked;
    socket->sendTextMessage(LockStateEvent(check->session(), locked).toJson([this] {
        return m_services.locker.lockState();
    }));
}

void ExtensionHandler::credentialRequest(WebSocket *socket, const MiniAppEvent &event)
{
    const auto *request = dynamic_cast<const RequestEvent *>(&event);
    if (!request)
        return;
    // Uuids are unique in the vault, so the listed item with this uuid is the only one.
    std::optional<InventoryItem> found;
    m_services.locker.runWithInventory(
        [&](Inventory &inventory) { found = inventory.item(request->uuid()); });
    if (!found || found->deleted()) {
        logLine(QStringLiteral("item missing for uuid-based request!"));
        return;
    }
    const Credential credential{found->username(), found->password(), found->title(), found->uuid(),
                                found->site()};
    socket->sendTextMessage(ProvideEvent(credential, request->session()).toJson());
    logLine(QStringLiteral("sent PROVIDE"));
}

void ExtensionHandler::storeCredential(WebSocket *, const MiniAppEvent &event)
{
    const auto *store = dynamic_cast<const StoreEvent *>(&event);
    if (!store)
        return;
    // A title from the site wins over the page title the extension sends.
    const std::optional<QUrl> address = BrowserController::normalizedURL(store->site());
    const QString title = SavePasswordController::guessTitleForSite(
                              store->site(), address ? address->host() : QString())
                              .value_or(store->title());
    const InventoryItem item(title, store->username(), store->password(), store->site());
    if (item.password().isEmpty())
        return;
    m_services.capture.setPendingItem(item);
}

void ExtensionHandler::commitCredential(WebSocket *, const MiniAppEvent &)
{
    m_services.capture.commitProvisionalItem();
}

void ExtensionHandler::abortCredential(WebSocket *, const MiniAppEvent &)
{
    m_services.capture.abortProvisionalItem();
}

} // namespace pexi
