// What the layer for C++ programs costs beside the calls that it stands on: the same walks, with
// cursors in the place of iterators, and a frame that is read as a program reads it.
#include "tqamsg/tqa.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "bench/measure.h"
#include "bench/messages.h"
#include "bench/workloads.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace bench {

namespace {

constexpr char kComfort[] = "comfort";
constexpr char kNames[] = "comfort-names";

// --- walks --------------------------------------------------------------------------------------

template <class T>
long long number(tqa::Cursor at, tqa::Name name) {
    return at.get<T>(name).value_or(0);
}

long long text(tqa::Cursor at, tqa::Name name) {
    return static_cast<long long>(at.get<std::string_view>(name).value_or("").size());
}

long long header(tqa::Cursor root) {
    return text(root, tqa::Attr_version) + text(root, tqa::Attr_id) +
           number<int>(root, tqa::Attr_priority) + text(root, tqa::Tag_origin) +
           text(root, tqa::Tag_target) + text(root, tqa::Tag_cookie);
}

long long ve(tqa::Cursor ve) {
    long long sum = number<int>(ve, tqa::Tag_veid);
    const auto status = ve.child(tqa::Tag_status);
    sum += number<int>(status, tqa::Tag_state) + number<int>(status, tqa::Tag_transition);
    const auto cpu = ve.child(tqa::Tag_cpu);
    sum += number<int>(cpu, tqa::Tag_user) + number<int>(cpu, tqa::Tag_system) +
           number<int>(cpu, tqa::Tag_idle);
    const auto memory = ve.child(tqa::Tag_memory);
    sum += number<long long>(memory, tqa::Tag_used) + number<long long>(memory, tqa::Tag_total);
    const auto disk = ve.child(tqa::Tag_disk);
    return sum + number<int>(disk, tqa::Tag_diskspace) + number<int>(disk, tqa::Tag_inodes);
}

long long veByName(tqa::Cursor ve) {
    long long sum = number<int>(ve, "veid");
    const auto status = ve.child("status");
    sum += number<int>(status, "state") + number<int>(status, "transition");
    const auto cpu = ve.child("cpu");
    sum += number<int>(cpu, "user") + number<int>(cpu, "system") + number<int>(cpu, "idle");
    const auto memory = ve.child("memory");
    sum += number<long long>(memory, "used") + number<long long>(memory, "total");
    const auto disk = ve.child("disk");
    return sum + number<int>(disk, "diskspace") + number<int>(disk, "inodes");
}

// In one pass over the fields, as msgpack's are walked.
long long process(tqa::Cursor process) {
    long long sum = 0;
    for (const auto field : tqa::children(process)) {
        switch (field.id()) {
            case tqa::Tag_pid:
            case tqa::Tag_nice:
            case tqa::Tag_time:
                sum += field.get<int>().value_or(0);
                break;
            case tqa::Tag_memory:
                sum += field.get<long long>().value_or(0);
                break;
            default:
                sum += static_cast<long long>(field.get<std::string_view>().value_or("").size());
        }
    }
    return sum;
}

template <class Each>
long long walk(const tqa::Message& message, int list, Each each) {
    const tqa::Cursor root = message.root();
    long long sum = header(root);
    for (const auto child : tqa::children(root.child(tqa::Tag_data).child(list))) {
        sum += each(child);
    }
    return sum;
}

template <class Each>
void walkVes(benchmark::State& state, Form form, Each each) {
    const tqa::Message message = tqa::Message::create();
    make(veStatus(), form, *message);
    require(walk(message, tqa::Tag_vem, each) == veStatus().sum, "the walk reads other values");
    measure(state, [&] { benchmark::DoNotOptimize(walk(message, tqa::Tag_vem, each)); });
}

void loadAndWalk(benchmark::State& state) {
    std::string bytes = bytesOf(processes(), Form::kTyped);
    const auto run = [&] {
        const tqa::Message message = tqa::Message::load(bytes);
        return walk(message, tqa::Tag_processes, process);
    };
    require(run() == processes().sum, "the walk reads other values");
    measure(state, [&] { benchmark::DoNotOptimize(run()); });
}

// --- one value of a header ----------------------------------------------------------------------

void getPriority(benchmark::State& state) {
    const tqa::Message message = tqa::Message::create();
    make(small(), Form::kTyped, *message);
    require(message.root().get<int>(tqa::Attr_priority).has_value(), "no priority");
    measure(state, [&] { benchmark::DoNotOptimize(message.root().get<int>(tqa::Attr_priority)); });
}

// --- frames -------------------------------------------------------------------------------------

constexpr int kFrames = 1000;

// A file in memory that holds small messages.
class FrameFile {
  public:
    FrameFile() : fd_(::memfd_create("frames", 0)) {
        const std::string frame = bytesOf(small(), Form::kTyped);
        for (int i = 0; i < kFrames; ++i) {
            require(tqa::writeFrame(fd_, frame) == 0, "the file is not written");
            size_ += frame.size();
        }
    }
    FrameFile(const FrameFile&) = delete;
    FrameFile& operator=(const FrameFile&) = delete;
    ~FrameFile() { ::close(fd_); }

    int atStart() const {
        ::lseek(fd_, 0, SEEK_SET);
        return fd_;
    }
    std::size_t size() const { return size_; }

  private:
    int fd_;
    std::size_t size_ = 0;
};

// By hand, for a program that knows how much there is.
int readByHand(const FrameFile& file, std::vector<char>& room) {
    const ssize_t count = ::read(file.atStart(), room.data(), room.size());
    int frames = 0;
    int length = 0;
    for (ssize_t at = 0; at < count; at += length) {
        length = TQAMessage::isComplete(room.data() + at, static_cast<int>(count - at));
        const Message message(TQAMessage::Factory->newMessage(room.data() + at, length));
        benchmark::DoNotOptimize(*message);
        ++frames;
    }
    return frames;
}

int readFrames(const FrameFile& file) {
    tqa::FrameReader reader(file.atStart());
    int frames = 0;
    while (reader.next() == tqa::Frame::Whole) {
        const tqa::Message message = reader.message();
        benchmark::DoNotOptimize(message.get());
        ++frames;
    }
    return frames;
}

void framesByHand(benchmark::State& state) {
    const FrameFile file;
    std::vector<char> room(file.size());
    require(readByHand(file, room) == kFrames, "frames are lost");
    measure(state, [&] { benchmark::DoNotOptimize(readByHand(file, room)); });
}

void framesWithReader(benchmark::State& state) {
    const FrameFile file;
    require(readFrames(file) == kFrames, "frames are lost");
    measure(state, [&] { benchmark::DoNotOptimize(readFrames(file)); });
}

// --- benchmarks ---------------------------------------------------------------------------------

const bool added = [] {
    add("load_and_walk/processes", kComfort, loadAndWalk);
    for (const Form form : kForms) {
        const std::string row = std::string("walk/fields/ve_status/") + nameOf(form);
        add(row, kComfort, [form](auto& state) { walkVes(state, form, ve); });
        add(row, kNames, [form](auto& state) { walkVes(state, form, veByName); });
    }
    add("header/get/typed", kComfort, getPriority);
    add("frames/small", kOurs, framesByHand);
    return add("frames/small", kComfort, framesWithReader);
}();

}  // namespace

}  // namespace bench
