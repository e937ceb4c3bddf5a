// Reading whole messages through the virtual interface of their iterators.
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "bench/measure.h"
#include "bench/messages.h"
#include "bench/workloads.h"

#include <memory>
#include <string>
#include <vector>

namespace bench {

namespace {

// --- by field: the agent's way, which knows what it reads ---------------------------------------

// Reads values below the current element and adds them up: numbers, and the lengths of texts.
class Fields {
  public:
    void number(TQAMessageIterator& it, int id) {
        int value = 0;
        it.getValue(&value, id);
        sum += value;
    }
    void longNumber(TQAMessageIterator& it, int id) {
        long long value = 0;
        it.getValueLongLong(&value, id);
        sum += value;
    }
    void text(TQAMessageIterator& it, int id) {
        it.getValue(&text_, id);
        sum += static_cast<long long>(text_.size());
    }

    long long sum = 0;

  private:
    std::string text_;  // keeps its room from value to value
};

void readHeader(TQAMessageIterator& it, Fields& fields) {
    it.seekRoot();
    fields.text(it, tqa::Attr_version);
    fields.text(it, tqa::Attr_id);
    fields.number(it, tqa::Attr_priority);
    fields.text(it, tqa::Tag_origin);
    fields.text(it, tqa::Tag_target);
    fields.text(it, tqa::Tag_cookie);
}

void readVe(TQAMessageIterator& it, Fields& fields) {
    fields.number(it, tqa::Tag_veid);
    it.seek(tqa::Tag_status);
    fields.number(it, tqa::Tag_state);
    fields.number(it, tqa::Tag_transition);
    it.seekUp();
    it.seek(tqa::Tag_cpu);
    fields.number(it, tqa::Tag_user);
    fields.number(it, tqa::Tag_system);
    fields.number(it, tqa::Tag_idle);
    it.seekUp();
    it.seek(tqa::Tag_memory);
    fields.longNumber(it, tqa::Tag_used);
    fields.longNumber(it, tqa::Tag_total);
    it.seekUp();
    it.seek(tqa::Tag_disk);
    fields.number(it, tqa::Tag_diskspace);
    fields.number(it, tqa::Tag_inodes);
    it.seekUp();
}

void readProcess(TQAMessageIterator& it, Fields& fields) {
    fields.number(it, tqa::Tag_pid);
    fields.text(it, tqa::Tag_user);
    fields.number(it, tqa::Tag_nice);
    fields.longNumber(it, tqa::Tag_memory);
    fields.number(it, tqa::Tag_time);
    fields.text(it, tqa::Tag_state);
    fields.text(it, tqa::Tag_name);
    fields.text(it, tqa::Tag_argv);
}

void readRecords(TQAMessageIterator& it, Fields& fields, int list,
                 void (*read)(TQAMessageIterator&, Fields&)) {
    readHeader(it, fields);
    it.seek(tqa::Tag_data);
    it.seek(list);
    for (int status = it.firstChild(); status == 0; status = it.nextSibling()) read(it, fields);
}

void readVes(TQAMessageIterator& it, Fields& fields) {
    readRecords(it, fields, tqa::Tag_vem, readVe);
}

void readProcesses(TQAMessageIterator& it, Fields& fields) {
    readRecords(it, fields, tqa::Tag_processes, readProcess);
}

// --- element by element: for messages of any shape ----------------------------------------------

// The children of the root, depth first. The names say what to read; the iterator is the stack.
class Walk {
  public:
    explicit Walk(const Workload& work) : kindOf_(work.kindOf) {}

    void operator()(TQABinaryIterator& it, Fields& fields) {
        it.seekRoot();
        if (it.firstChild() != 0) return;
        for (int depth = 1;;) {
            const Step::Kind kind = kindOf_[static_cast<std::size_t>(it.curID())];
            if (kind > Step::kClose) {
                read(it, kind, fields);
            } else if (it.firstChild() == 0) {
                ++depth;
                continue;
            }
            while (it.nextSibling() != 0) {
                it.seekUp();
                if (--depth == 0) return;
            }
        }
    }

  private:
    static void read(TQABinaryIterator& it, Step::Kind kind, Fields& fields) {
        switch (kind) {
            case Step::kInt:
                fields.number(it, 0);
                break;
            case Step::kLongLong:
                fields.longNumber(it, 0);
                break;
            default:
                fields.text(it, 0);
        }
    }

    const std::vector<Step::Kind>& kindOf_;
};

// --- benchmarks ---------------------------------------------------------------------------------

using BinaryIterator = std::unique_ptr<TQABinaryIterator>;

BinaryIterator iteratorOf(TQAMessage& message) {
    return BinaryIterator(static_cast<TQABinaryIterator*>(message.newIterator()));
}

// One walk with a new iterator; the sum of what it reads.
template <class Read>
long long walkOnce(TQAMessage& message, Fields& fields, Read& read) {
    const BinaryIterator it = iteratorOf(message);
    fields.sum = 0;
    read(*it, fields);
    return fields.sum;
}

// Making the iterator is the user's one allocation; only those of the walk itself are counted.
template <class Read>
void walkMessage(benchmark::State& state, const Workload& work, Form form, Read read) {
    const Message message(TQAMsgFactory::createNew());
    make(work, form, **message);
    state.counters["elements"] = work.elements;
    Fields fields;
    require(walkOnce(**message, fields, read) == work.sum, "the walk reads other values");
    measure(state, [&] { benchmark::DoNotOptimize(walkOnce(**message, fields, read)); });
    const BinaryIterator kept = iteratorOf(**message);
    read(*kept, fields);
    countAllocations(state, [&] { read(*kept, fields); });
}

void walkElements(benchmark::State& state, const Workload& work, Form form) {
    walkMessage(state, work, form, Walk(work));
}

template <class Read>
void loadAndWalk(benchmark::State& state, const Workload& work, Read read) {
    std::string bytes = bytesOf(work, Form::kTyped);
    Fields fields;
    measure(state, [&] {
        const Message message(TQAMsgFactory::createNew());
        message->init(bytes.data(), static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(walkOnce(**message, fields, read));
    });
}

void addElementWalks() {
    for (const Source& source : kWorkloads) {
        if (source.make == textHeavy) continue;  // its entities stay in a parsed text's length
        for (const Form form : kForms) {
            add(std::string("walk/elements/") + source.name + "/" + nameOf(form), kOurs,
                [source, form](auto& state) { walkElements(state, source.make(), form); });
        }
    }
    for (const std::size_t size : kSizes) {
        add("size/walk/" + std::to_string(size), kOurs,
            [size](auto& state) { walkElements(state, processesOf(size), Form::kTyped); });
    }
}

const bool added = [] {
    addElementWalks();
    for (const Form form : kForms) {
        add(std::string("walk/fields/ve_status/") + nameOf(form), kOurs,
            [form](auto& state) { walkMessage(state, veStatus(), form, readVes); });
    }
    add("shape/deep40000/walk", kOurs,
        [](auto& state) { walkElements(state, deepOf(kFourTimesDeep), Form::kTyped); });
    add("load_and_walk/processes/fields", kOurs,
        [](auto& state) { loadAndWalk(state, processes(), readProcesses); });
    return add("load_and_walk/processes/elements", kOurs,
               [](auto& state) { loadAndWalk(state, processes(), Walk(processes())); });
}();

}  // namespace

}  // namespace bench
