// Feeds arbitrary text to the extension server as if it had arrived in WebSocket text frames,
// with the real request handlers installed over real vaults: one unlocked, holding a few items,
// and one locked. An input is up to eight frames separated by NUL bytes, so that sequences such
// as store, then commit, are reachable; its first byte picks the vault. The vaults live in
// /dev/shm when there is one, so that saving a captured login costs no disk flush.
#include "capture/SavePasswordController.h"
#include "core/Account.h"
#include "core/EncryptionService.h"
#include "core/GridLibrary.h"
#include "core/Inventory.h"
#include "core/Locker.h"
#include "core/PictureLibrary.h"
#include "core/Vault.h"
#include "extension/BrowserController.h"
#include "extension/ExtensionHandler.h"
#include "extension/ExtensionServer.h"
#include "platform/BrowserLauncher.h"
#include "support/DesktopDoubles.h"
#include "support/WebSocketPair.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

using namespace pexi;

namespace {

constexpr int maxFrames = 8;
// Captured logins that the fuzzer manages to save are dropped again beyond this many.
constexpr int maxSavedItems = 64;

QString scratchRoot()
{
    return QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm")
                                                     : QDir::tempPath();
}

// One vault with the worker's server and handlers over it.
struct Bridge
{
    explicit Bridge(bool unlocked)
        : dir(scratchRoot() + QStringLiteral("/pexi-fuzz-XXXXXX")),
          keys(std::make_shared<FileDeviceKeyStore>(dir.path() + "/keys")),
          vault(dir.path() + "/data", keys), account(vault), encryption(vault),
          locker(vault, account, encryption, center), browsers(launcher),
          capture(
              {preferences, events, notifications, window, locker, [] { return QPointF(1, 2); }}),
          server(0, locker, browsers, center)
    {
        const QStringList names = PictureLibrary::names();
        const QList<QStringList> chosen{names.mid(0, 3), names.mid(3, 3), names.mid(6, 3)};
        vault.create(chosen);
        if (unlocked) {
            account.takeRecallSecret(GridLibrary::recallSecretForNames(chosen));
            if (!locker.unlock())
                std::abort();
            locker.runWithInventory([](Inventory &inventory) {
                inventory.add({
                    InventoryItem("Example", QStringLiteral("ann"), "pw-1",
                                  QStringLiteral("https://www.example.com/login")),
                    InventoryItem("Example", QStringLiteral("bob"), "pw-2",
                                  QStringLiteral("example.com")),
                    InventoryItem("Notes", std::nullopt, "pw-3", std::nullopt),
                    InventoryItem("Router", QStringLiteral("admin"), "pw-4",
                                  QStringLiteral("http://192.168.1.1")),
                    InventoryItem("Pages", QStringLiteral("me"), "pw-5",
                                  QStringLiteral("me.github.io")),
                });
                for (const InventoryItem &item : inventory.itemList())
                    fixture.append(item.uuid());
            });
        }

        ExtensionHandler::install(
            server, {locker, browsers, capture, window, [] { return QPointF(3, 4); }});
        if (!extension.handshake().startsWith("HTTP/1.1 101 "))
            std::abort();
    }

    // What one input may leave behind is undone, so that inputs stay independent.
    void reset()
    {
        extension.read().clear(); // the answers, read so that the socket never fills up
        capture.setPendingItem(std::nullopt);
        locker.runWithInventory([](Inventory &inventory) {
            if (inventory.count() <= fixture.size() + maxSavedItems)
                return;
            for (const InventoryItem &item : inventory.itemList()) {
                if (!fixture.contains(item.uuid()))
                    inventory.deleteItem(item.uuid());
            }
        });
    }

    inline static QStringList fixture;

    QTemporaryDir dir;
    std::shared_ptr<FileDeviceKeyStore> keys;
    Vault vault;
    Account account;
    EncryptionService encryption;
    NotificationCenter center;
    Locker locker;
    NullLauncher launcher;
    BrowserController browsers;
    NullWindow window;
    NullNotificationCenter notifications;
    FixedPreferences preferences;
    NullEventLogger events;
    SavePasswordController capture;
    ExtensionServer server;
    // The extension's end of an open connection, over a socket pair.
    WebSocketPair extension;
};

Bridge *unlockedBridge = nullptr;
Bridge *lockedBridge = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qputenv("PEXI_NO_KEYRING", "1");
    // The worker logs every dropped frame; the fuzzer's own report goes to standard error.
    const int null = ::open("/dev/null", O_WRONLY);
    ::dup2(null, STDOUT_FILENO);
    ::close(null);
    new QCoreApplication(*argc, *argv);
    unlockedBridge = new Bridge(true);
    lockedBridge = new Bridge(false);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    Bridge &bridge = (data[0] & 1) ? *lockedBridge : *unlockedBridge;
    const QByteArray input(reinterpret_cast<const char *>(data) + 1, qsizetype(size - 1));
    const QList<QByteArray> frames = input.split('\0');
    for (qsizetype i = 0; i < frames.size() && i < maxFrames; ++i)
        bridge.server.handleTextMessage(bridge.extension.server.get(), frames.at(i));
    bridge.reset();
    return 0;
}
