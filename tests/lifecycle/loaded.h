// The shared library, loaded while the program runs. Only virtual operations and symbols looked up
// by name lead into it, as the program itself is not linked with it.
#pragma once

#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_iterator.h"
#include "tqamsg/vocabulary/word_ids.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <iostream>
#include <memory>
#include <string>

namespace lifecycle {

inline void require(bool holds, const char* what) {
    if (holds) return;
    const char* const error = dlerror();
    std::cerr << "not as it should be: " << what << ' ' << (error == nullptr ? "" : error) << '\n';
    std::_Exit(1);
}

class Library {
  public:
    Library(const char* file, Lmid_t space) : handle_(dlmopen(space, file, RTLD_NOW | RTLD_LOCAL)) {
        require(handle_ != nullptr, "it does not load");
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() { require(dlclose(handle_) == 0, "it does not close"); }

    template <class T>
    T* find(const char* symbol) const {
        void* const found = dlsym(handle_, symbol);
        require(found != nullptr, symbol);
        return reinterpret_cast<T*>(found);
    }

    // A new message, made by this library.
    TQAMessage* newMessage() const {
        return find<TQAMessage*()>("_ZN13TQAMsgFactory9createNewEv")();
    }

    // Messages, their text, their ends, and a line of the log.
    void use() const {
        TQAMessage* const message = newMessage();
        char text[] = "<packet><data><veid>5</veid></data></packet>";
        require(message->fromText(text, nullptr) == 0, "parsing");
        {
            const std::unique_ptr<TQAMessageIterator> it(message->newIterator());
            require(it->seek(tqa::Tag_data) == 0 && it->putValue(6, tqa::Tag_veid) == 0, "writing");
        }
        char* bytes = nullptr;
        int size = 0;
        require(message->decode(&bytes, &size, nullptr) == 0, "exporting");
        TQAMessage* const loaded = newMessage();
        require(loaded->init(bytes, size) == 0, "loading");
        release(bytes);
        TQAMessage* const shared = loaded->copy(false);
        message->destroy();
        loaded->destroy();
        char* const printed = shared->toText(nullptr, false, "");
        require(std::strstr(printed, "<veid>6</veid>") != nullptr, "printing");
        release(printed);
        shared->destroy();
        *find<int>("debug_level") = 1;
        find<void(int, const char*, ...)>("_Z5debugiPKcz")(1, "a line");
    }

  private:
    // In a name space of its own the library has a heap of its own.
    void release(char* block) const { find<void(void*)>("free")(block); }

    void* handle_;
};

}  // namespace lifecycle
