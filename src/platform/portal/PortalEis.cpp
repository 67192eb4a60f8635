// SPDX-License-Identifier: MIT
#include "platform/portal/PortalEis.h"

#include <libei.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/portal/EisRegions.h"
#include "platform/portal/PortalBus.h"

namespace vorrik::portal {
namespace {

void logFromLibei(ei* /*context*/, ei_log_priority priority, const char* message,
                  ei_log_context* /*where*/) {
  if (priority >= EI_LOG_PRIORITY_WARNING) {
    qCWarning(lcPortal) << "libei:" << message;
  } else {
    qCDebug(lcPortal) << "libei:" << message;
  }
}

// libei's context is not thread-safe: the main thread reads its socket while the click worker
// sends, so every call into it holds mutex_.
class LibeiPointer final : public EisPointer, public std::enable_shared_from_this<LibeiPointer> {
 public:
  LibeiPointer(ei* context, Handlers handlers)
      : context_(context),
        handlers_(std::move(handlers)),
        notifier_(std::make_unique<QSocketNotifier>(ei_get_fd(context), QSocketNotifier::Read)) {}

  // Main thread, once owned: the socket's watch holds the object weakly.
  void watch() {
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [weak = weak_from_this()] {
                       if (const auto self = weak.lock()) {
                         self->dispatch();
                       }
                     });
  }

  ~LibeiPointer() override {
    std::lock_guard lock(mutex_);
    release();
  }
  LibeiPointer(const LibeiPointer&) = delete;
  LibeiPointer& operator=(const LibeiPointer&) = delete;

  [[nodiscard]] bool ready() const override {
    std::lock_guard lock(mutex_);
    return ready_ && buttonDevice() != nullptr;
  }

  [[nodiscard]] std::optional<ClickPoint> reach(ClickPoint at, double rootWidth,
                                                double rootHeight) const override {
    std::lock_guard lock(mutex_);
    return regionPoint(regions_, at, rootScale(regions_, rootWidth, rootHeight));
  }

  bool moveTo(ClickPoint layout) override {
    std::lock_guard lock(mutex_);
    ei_device* device = ready_ ? absoluteDevice() : nullptr;
    if (device == nullptr) {
      return false;
    }
    // Onto another monitor by way of a point clear of the edges' barriers, as a hand would go,
    // then to the point twice: a barrier lets a pointer through short of where it was sent, and
    // where a hand has moved the pointer since the last click, it may be on another monitor.
    if (const auto via = crossingPoint(regions_, sent_, layout)) {
      ei_device_pointer_motion_absolute(device, via->x, via->y);
      ei_device_frame(device, ei_now(context_));
    }
    for (int i = 0; i < 2; ++i) {
      ei_device_pointer_motion_absolute(device, layout.x, layout.y);
      ei_device_frame(device, ei_now(context_));
    }
    sent_ = layout;
    flush();
    return true;
  }

  bool button(int evdevButton, bool pressed) override {
    std::lock_guard lock(mutex_);
    ei_device* device = ready_ ? buttonDevice() : nullptr;
    if (device == nullptr) {
      return false;
    }
    ei_device_button_button(device, static_cast<uint32_t>(evdevButton), pressed);
    ei_device_frame(device, ei_now(context_));
    flush();
    return true;
  }

  void close() override {
    std::lock_guard lock(mutex_);
    dropNotifier();
    release();
  }

 private:
  struct Device {
    ei_device* device;
    bool resumed;
  };

  // Sends what is queued now; an answer read meanwhile is handled on the main thread.
  void flush() {
    ei_dispatch(context_);
    ei_event* next = notifier_ ? ei_peek_event(context_) : nullptr;
    if (next != nullptr) {
      // A connection that broke while sending takes no further click from now on, before the
      // main thread hears of it: none is counted that went nowhere.
      if (ei_event_get_type(next) == EI_EVENT_DISCONNECT) {
        ready_ = false;
      }
      ei_event_unref(next);
      // Weakly: the worker may hold the last reference by the time it runs.
      QMetaObject::invokeMethod(
          notifier_.get(),
          [weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
              self->dispatch();
            }
          },
          Qt::QueuedConnection);
    }
  }

  // The resumed device with absolute motion (the one with regions), if any.
  [[nodiscard]] ei_device* absoluteDevice() const {
    const auto found = std::find_if(devices_.begin(), devices_.end(), [](const Device& d) {
      return d.resumed && ei_device_has_capability(d.device, EI_DEVICE_CAP_POINTER_ABSOLUTE);
    });
    return found == devices_.end() ? nullptr : found->device;
  }

  // Buttons go where absolute motion goes when that device has them, so that a press follows
  // its motion on one device.
  [[nodiscard]] ei_device* buttonDevice() const {
    if (ei_device* absolute = absoluteDevice();
        absolute != nullptr && ei_device_has_capability(absolute, EI_DEVICE_CAP_BUTTON)) {
      return absolute;
    }
    const auto found = std::find_if(devices_.begin(), devices_.end(), [](const Device& d) {
      return d.resumed && ei_device_has_capability(d.device, EI_DEVICE_CAP_BUTTON);
    });
    return found == devices_.end() ? nullptr : found->device;
  }

  void readRegions(ei_device* device) {
    regions_.clear();
    for (size_t i = 0; ei_region* region = ei_device_get_region(device, i); ++i) {
      regions_.push_back({static_cast<double>(ei_region_get_x(region)),
                          static_cast<double>(ei_region_get_y(region)),
                          static_cast<double>(ei_region_get_width(region)),
                          static_cast<double>(ei_region_get_height(region))});
    }
  }

  // Main thread: reads the socket and answers the server's events.
  void dispatch() {
    QString lost;
    bool becameReady = false;
    {
      std::lock_guard lock(mutex_);
      if (context_ == nullptr) {
        return;
      }
      ei_dispatch(context_);
      while (ei_event* event = ei_get_event(context_)) {
        handle(event, lost);
        ei_event_unref(event);
      }
      if (lost.isEmpty() && !ready_ && buttonDevice() != nullptr && !pendingAbsolute()) {
        ready_ = becameReady = true;
      }
      if (!lost.isEmpty()) {
        dropNotifier();
        release();
      }
    }
    // Outside the lock: the handlers may call back in.
    if (!lost.isEmpty() && !std::exchange(lostSaid_, true) && handlers_.lost) {
      handlers_.lost(lost);
    } else if (becameReady && handlers_.ready) {
      handlers_.ready();
    }
  }

  // An absolute device added but not yet resumed: wait for it rather than start without it.
  [[nodiscard]] bool pendingAbsolute() const {
    return std::any_of(devices_.begin(), devices_.end(), [](const Device& d) {
      return !d.resumed && ei_device_has_capability(d.device, EI_DEVICE_CAP_POINTER_ABSOLUTE);
    });
  }

  void handle(ei_event* event, QString& lost) {
    ei_device* device = ei_event_get_device(event);
    const auto known = std::find_if(devices_.begin(), devices_.end(),
                                    [device](const Device& d) { return d.device == device; });
    switch (ei_event_get_type(event)) {
      case EI_EVENT_SEAT_ADDED:
        ei_seat_bind_capabilities(ei_event_get_seat(event), EI_DEVICE_CAP_POINTER,
                                  EI_DEVICE_CAP_POINTER_ABSOLUTE, EI_DEVICE_CAP_BUTTON, nullptr);
        return;
      case EI_EVENT_DEVICE_ADDED:
        devices_.push_back({ei_device_ref(device), false});
        return;
      case EI_EVENT_DEVICE_RESUMED:
        if (known != devices_.end()) {
          known->resumed = true;
          ei_device_start_emulating(device, ++sequence_);
          if (ei_device_has_capability(device, EI_DEVICE_CAP_POINTER_ABSOLUTE)) {
            readRegions(device);
          }
        }
        return;
      case EI_EVENT_DEVICE_PAUSED:
      case EI_EVENT_DEVICE_REMOVED:
        if (known != devices_.end()) {
          // A device the clicks use going away mid-run is the connection lost: a press may
          // have gone without its release reaching anyone.
          if (ready_ && (known->device == buttonDevice() || known->device == absoluteDevice())) {
            lost = ei_event_get_type(event) == EI_EVENT_DEVICE_PAUSED
                       ? QStringLiteral("EIS device paused")
                       : QStringLiteral("EIS device removed");
          }
          if (ei_event_get_type(event) == EI_EVENT_DEVICE_PAUSED) {
            known->resumed = false;
          } else {
            ei_device_unref(known->device);
            devices_.erase(known);
          }
        }
        return;
      case EI_EVENT_DISCONNECT:
        lost = QStringLiteral("EIS disconnected");
        return;
      default:
        return;
    }
  }

  // Main thread; possibly inside the notifier's own signal, so it goes later.
  void dropNotifier() {
    if (notifier_) {
      notifier_->setEnabled(false);
      notifier_->disconnect();
      notifier_.release()->deleteLater();
    }
  }

  // Stops emulating and drops the context; every call after this sends nothing.
  void release() {
    ready_ = false;
    for (const Device& d : std::exchange(devices_, {})) {
      if (d.resumed) {
        ei_device_stop_emulating(d.device);
      }
      ei_device_unref(d.device);
    }
    regions_.clear();
    if (context_ != nullptr) {
      ei_dispatch(context_);
      ei_unref(std::exchange(context_, nullptr));
    }
  }

  mutable std::mutex mutex_;
  ei* context_;  // guarded by mutex_, as is everything below but the handlers
  std::vector<Device> devices_;
  std::vector<EisRegion> regions_;
  // Where the last motion put the pointer, unless a hand has moved it since.
  std::optional<ClickPoint> sent_;
  uint32_t sequence_ = 0;
  bool ready_ = false;
  Handlers handlers_;      // main thread
  bool lostSaid_ = false;  // main thread
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace

bool EisPointer::builtIn() {
  return true;
}

std::shared_ptr<EisPointer> EisPointer::open(int fd, Handlers handlers) {
  ei* context = ei_new_sender(nullptr);
  if (context == nullptr) {
    ::close(fd);
    return nullptr;
  }
  ei_log_set_handler(context, &logFromLibei);
  ei_configure_name(context, "Vorrik");
  // The context owns fd from here, failed or not.
  if (const int error = ei_setup_backend_fd(context, fd); error != 0) {
    qCWarning(lcPortal) << "libei could not take the EIS socket:"
                        << QString::fromLocal8Bit(
                               std::error_code(-error, std::generic_category()).message());
    ei_unref(context);
    return nullptr;
  }
  auto pointer = std::make_shared<LibeiPointer>(context, std::move(handlers));
  pointer->watch();
  return pointer;
}

}  // namespace vorrik::portal
