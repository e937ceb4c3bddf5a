# The ve_status reply twice: as a tree of named elements, which holds any message, and as structs
# that hold this one only.
@0xb7a1c9d2e4f60835;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("bench::schema");

struct Element {
  id @0 :UInt16;
  union {
    int @1 :Int32;
    longLong @2 :Int64;
    text @3 :Text;
    children @4 :List(Element);
  }
}

struct Packet {
  version @0 :Text;
  id @1 :Text;
  priority @2 :Int32;
  origin @3 :Text;
  target @4 :Text;
  cookie @5 :Text;
  data @6 :Data;
}

struct Data {
  vem @0 :List(Ve);
}

struct Ve {
  veid @0 :Int32;
  status @1 :Status;
  cpu @2 :Cpu;
  memory @3 :Memory;
  disk @4 :Disk;
}

struct Status {
  state @0 :Int32;
  transition @1 :Int32;
}

struct Cpu {
  user @0 :Int32;
  system @1 :Int32;
  idle @2 :Int32;
}

struct Memory {
  used @0 :Int64;
  total @1 :Int64;
}

struct Disk {
  diskspace @0 :Int32;
  inodes @1 :Int32;
}
