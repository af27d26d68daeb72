#include "platform/wayland/DataControlClipboard.h"

#include "base/SingleLine.h"
#include "platform/wayland/PipeWriter.h"
#include "protocols/ext-data-control-v1.h"
#include "protocols/wlr-data-control-unstable-v1.h"

#include <wayland-client-protocol.h>

#include <csignal>
#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

/// The clipboard and the primary selection of one seat.
class DataControlClipboard::Device {
public:
    Device() = default;
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    virtual ~Device() = default;

    virtual void setClipboard(const QByteArray& text) = 0;
    virtual void offerAsPrimary() = 0;
    /// Whether the seat is still there.
    virtual bool works() const = 0;
};

namespace {

constexpr const char* textTypes[] = {"text/plain;charset=utf-8", "text/plain", "UTF8_STRING", "TEXT",
                                     "STRING"};

/// The standard protocol.
struct ExtDataControl {
    using Manager = ext_data_control_manager_v1;
    using Device = ext_data_control_device_v1;
    using DeviceListener = ext_data_control_device_v1_listener;
    using Offer = ext_data_control_offer_v1;
    using Source = ext_data_control_source_v1;
    using SourceListener = ext_data_control_source_v1_listener;
    static constexpr auto* managerInterface = &ext_data_control_manager_v1_interface;
    static constexpr quint32 version = 1;
    static constexpr quint32 firstWithPrimary = 1;
    static constexpr auto* getDevice = ext_data_control_manager_v1_get_data_device;
    static constexpr auto* createSource = ext_data_control_manager_v1_create_data_source;
    static constexpr auto* addDeviceListener = ext_data_control_device_v1_add_listener;
    static constexpr auto* setSelection = ext_data_control_device_v1_set_selection;
    static constexpr auto* setPrimary = ext_data_control_device_v1_set_primary_selection;
    static constexpr auto* addSourceListener = ext_data_control_source_v1_add_listener;
    static constexpr auto* offerType = ext_data_control_source_v1_offer;
};

/// Its predecessor, the same but for the names.
struct WlrDataControl {
    using Manager = zwlr_data_control_manager_v1;
    using Device = zwlr_data_control_device_v1;
    using DeviceListener = zwlr_data_control_device_v1_listener;
    using Offer = zwlr_data_control_offer_v1;
    using Source = zwlr_data_control_source_v1;
    using SourceListener = zwlr_data_control_source_v1_listener;
    static constexpr auto* managerInterface = &zwlr_data_control_manager_v1_interface;
    static constexpr quint32 version = 2;
    static constexpr quint32 firstWithPrimary = 2;
    static constexpr auto* getDevice = zwlr_data_control_manager_v1_get_data_device;
    static constexpr auto* createSource = zwlr_data_control_manager_v1_create_data_source;
    static constexpr auto* addDeviceListener = zwlr_data_control_device_v1_add_listener;
    static constexpr auto* setSelection = zwlr_data_control_device_v1_set_selection;
    static constexpr auto* setPrimary = zwlr_data_control_device_v1_set_primary_selection;
    static constexpr auto* addSourceListener = zwlr_data_control_source_v1_add_listener;
    static constexpr auto* offerType = zwlr_data_control_source_v1_offer;
};

template<class Protocol>
class ProtocolDevice : public DataControlClipboard::Device {
public:
    ProtocolDevice(const WaylandConnection& connection, std::function<void()> finished)
        : m_finished(std::move(finished)), m_seat(connection.bind<wl_seat>(wl_seat_interface, 1)),
          m_manager(
              connection.bind<typename Protocol::Manager>(*Protocol::managerInterface, Protocol::version)),
          m_hasPrimary(connection.version(*Protocol::managerInterface) >= Protocol::firstWithPrimary),
          m_device(Protocol::getDevice(m_manager.get(), m_seat.get())) {
        static constexpr typename Protocol::DeviceListener listener{
            // What others copy is none of our business, but every offer of theirs is an object here. Not
            // destroyed
            // before the event that refers to it: libwayland would leak it.
            .data_offer = [](void*, auto*, auto*) {},
            .selection = &dropOffer,
            .finished =
                [](void* self, auto*) {
                    auto& device = *static_cast<ProtocolDevice*>(self);
                    device.m_works = false;
                    device.m_finished();
                },
            .primary_selection = &dropOffer,
        };
        Protocol::addDeviceListener(m_device.get(), &listener, this);
    }

    bool works() const override { return m_works; }

    void setClipboard(const QByteArray& text) override {
        auto source = makeSource(text);
        Protocol::setSelection(m_device.get(), source->proxy.get());
        m_clipboard = std::move(source);
    }

    void offerAsPrimary() override {
        if (!m_hasPrimary || !m_clipboard)
            return;
        auto source = makeSource(singleLine(QString::fromUtf8(m_clipboard->text)).toUtf8());
        Protocol::setPrimary(m_device.get(), source->proxy.get());
        m_primary = std::move(source);
    }

private:
    static void dropOffer(void*, typename Protocol::Device*, typename Protocol::Offer* offer) {
        if (offer)
            WaylandDestroy()(offer);
    }

    /// A text that we offer.
    struct Source {
        ProtocolDevice& device;
        QByteArray text;
        WaylandPointer<typename Protocol::Source> proxy;
    };

    std::unique_ptr<Source> makeSource(const QByteArray& text) {
        static constexpr typename Protocol::SourceListener listener{
            .send =
                [](void* self, auto*, const char*, int32_t descriptor) {
                    const auto& source = *static_cast<Source*>(self);
                    new PipeWriter(descriptor, source.text, &source.device.m_writers);
                },
            .cancelled =
                [](void* self, auto*) {
                    auto& device = static_cast<Source*>(self)->device;
                    (device.m_clipboard.get() == self ? device.m_clipboard : device.m_primary).reset();
                },
        };
        auto source = std::unique_ptr<Source>(new Source{
            *this, text, WaylandPointer<typename Protocol::Source>(Protocol::createSource(m_manager.get()))});
        Protocol::addSourceListener(source->proxy.get(), &listener, source.get());
        for (const auto* type : textTypes)
            Protocol::offerType(source->proxy.get(), type);
        return source;
    }

    const std::function<void()> m_finished;
    const WaylandPointer<wl_seat> m_seat;
    const WaylandPointer<typename Protocol::Manager> m_manager;
    const bool m_hasPrimary;
    const WaylandPointer<typename Protocol::Device> m_device;
    bool m_works = true;
    QObject m_writers;
    std::unique_ptr<Source> m_clipboard;
    std::unique_ptr<Source> m_primary;
};

} // namespace

bool DataControlClipboard::isOffered(const WaylandConnection& connection) {
    return connection.version(*ExtDataControl::managerInterface) > 0 ||
           connection.version(*WlrDataControl::managerInterface) > 0;
}

DataControlClipboard::DataControlClipboard(WaylandConnection& connection) : m_connection(connection) {
    // A reader that leaves early is no reason to end.
    std::signal(SIGPIPE, SIG_IGN);
    connect(&connection, &WaylandConnection::globalsChanged, this, &DataControlClipboard::openDevice);
    connect(&connection, &WaylandConnection::disconnected, this, &DataControlClipboard::statusChanged);
    openDevice();
}

DataControlClipboard::~DataControlClipboard() = default;

void DataControlClipboard::openDevice() {
    if ((m_device && m_device->works()) || m_connection.version(wl_seat_interface) == 0 ||
        !isOffered(m_connection))
        return;
    const auto finished = [this] {
        Q_EMIT statusChanged();
    };
    if (m_connection.version(*ExtDataControl::managerInterface) > 0)
        m_device = std::make_unique<ProtocolDevice<ExtDataControl>>(m_connection, finished);
    else
        m_device = std::make_unique<ProtocolDevice<WlrDataControl>>(m_connection, finished);
    m_connection.flush();
    Q_EMIT statusChanged();
}

ServiceStatus DataControlClipboard::status() const {
    const auto backend = u"Wayland data control"_s;
    if (!m_connection.isConnected())
        return {backend, false, WaylandConnection::disconnectedReason()};
    if (!m_device || !m_device->works())
        return {backend, false, u"The compositor has no seat, and so no clipboard."_s};
    return {backend, true};
}

void DataControlClipboard::setText(const QString& text) {
    if (!status().works)
        return;
    m_device->setClipboard(text.toUtf8());
    m_connection.flush();
}

void DataControlClipboard::offerAsSelection() {
    if (!status().works)
        return;
    m_device->offerAsPrimary();
    m_connection.flush();
}

} // namespace tavrik
