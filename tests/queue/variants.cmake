# The queue's code with a fault put in: the driver's own source and the host's, with one passage
# replaced by another. A passage that is not there any more stops the build.
#
# variant(NAME SOURCE [PASSAGE BY]...): NAME.inc holds the code without includes, to be included in a
# namespace. SOURCE is `driver` (its functions get the prefix Faulty) or `handler`.
set(variants ${CMAKE_CURRENT_BINARY_DIR}/queue_variants)
function(variant name source)
  if(source STREQUAL "driver")
    set(files driver/core/dma_wait.cpp)
  else()
    set(files host/vdd/dma_queue.h host/vdd/dma_queue.cpp)
  endif()
  set(text "")
  foreach(file IN LISTS files)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${file})
    file(READ ${PROJECT_SOURCE_DIR}/${file} part)
    string(APPEND text "${part}")
  endforeach()
  list(LENGTH ARGN count)
  set(at 2)
  math(EXPR end "${ARGC}")
  while(at LESS end)
    set(passage "${ARGV${at}}")
    math(EXPR at "${at} + 1")
    set(by "${ARGV${at}}")
    math(EXPR at "${at} + 1")
    string(FIND "${text}" "${passage}" found)
    if(found EQUAL -1)
      message(FATAL_ERROR "queue variant ${name}: its passage is not in ${files}:\n${passage}")
    endif()
    string(REPLACE "${passage}" "${by}" text "${text}")
  endwhile()
  string(REGEX REPLACE "#(include|pragma once)[^\n]*" "" text "${text}")
  if(source STREQUAL "driver")
    string(REGEX REPLACE
           "(StartDMA|WaitDMAIdle|WaitDMACountZero|PollFIFOSpace|SyncChip|ReadOutputFIFOPair|GetDMABuffer|FreeDMABuffer)\\("
           "Faulty\\1(" text "${text}")
  else()
    string(REPLACE "SerialiseProcessors()" "::queue::Machine::Barrier()" text "${text}")
  endif()
  file(CONFIGURE OUTPUT ${variants}/${name}.inc CONTENT "${text}" @ONLY)
endfunction()

# As they are; the driver is then the library's.
variant(handler_as_it_is handler)

variant(head_before_entry driver
[[    chip->QueueAddress[head] = physical;
    chip->QueueCount[head] = count;
    chip->QueueHead = next;]]
[[    chip->QueueHead = next;
    chip->QueueAddress[head] = physical;
    chip->QueueCount[head] = count;]])
variant(head_before_count driver
[[    chip->QueueCount[head] = count;
    chip->QueueHead = next;]]
[[    chip->QueueHead = next;
    chip->QueueCount[head] = count;]])
variant(running_before_head driver
[[    chip->QueueHead = next;
    if (chip->QueueRunning != 0) {]]
[[    const uint32_t wasRunning = chip->QueueRunning;
    chip->QueueHead = next;
    if (wasRunning != 0) {]])
variant(no_kick driver [[if (chip->QueueRunning != 0) {]] [[if (true) {]])
variant(full_queue_unseen driver [[while (next == chip->QueueTail) {]] [[while (false) {]])
variant(no_wrap driver [[next == chip->QueueEnd]] [[false]])
variant(tail_not_waited_for driver [[while (chip->QueueTail != head) {]] [[while (head > 99) {]])
variant(count_not_waited_for driver
[[    WaitDMACountZero(driver->Registers);
    SetDMAState]]
[[    SetDMAState]])
variant(idle_stays_set driver [[ClearDMAState(chip, DMAIdle);]] "")
variant(direct_without_wait driver
[[    for (uint32_t left = ReadChip(registers, reg::DMACount); left != 0;
         left = ReadChip(registers, reg::DMACount)) {
        DelayRounds(registers, left - 1);
    }
]] "")

variant(no_last_look handler
[[        if (!HasEntry(tail)) {
            return;
        }]]
[[        return;]])
variant(no_barrier handler [[        SerialiseProcessors();
]] "")
variant(chip_not_looked_at handler [[if (ReadChip(registers_, reg::DMACount) != 0) {]] [[if (false) {]])
variant(running_never_cleared handler [[Store(chip_->QueueRunning, 0);]] "")
variant(tail_before_start handler
[[    WriteChip(registers_, reg::DMAAddress, Load(chip_->QueueAddress[tail]));
    WriteChip(registers_, reg::DMACount, Load(chip_->QueueCount[tail]));
    ++transfers_;
    // Only now: a driver that finds the queue empty goes on to look at DMACount.
    const uint32_t next = tail + 1;
    Store(chip_->QueueTail, next == Load(chip_->QueueEnd) ? 0 : next);]]
[[    const uint32_t next = tail + 1;
    Store(chip_->QueueTail, next == Load(chip_->QueueEnd) ? 0 : next);
    WriteChip(registers_, reg::DMAAddress, Load(chip_->QueueAddress[tail]));
    WriteChip(registers_, reg::DMACount, Load(chip_->QueueCount[tail]));]])
variant(tail_never_wraps handler [[next == Load(chip_->QueueEnd) ? 0 : next]] [[next]])
variant(flags_cleared_last handler
[[    if ((flags & kAnswered) != 0) {
        WriteChip(registers_, reg::IntFlags, flags & kAnswered);
    }
    NoteBlank(flags);
    Drain();]]
[[    NoteBlank(flags);
    Drain();
    WriteChip(registers_, reg::IntFlags, kAnswered);]])
variant(switch_not_looked_at handler
[[    while (true) {
        tail = Load(chip_->QueueTail);
        const uint32_t head = Load(chip_->QueueHead);
        const bool on = (Load(chip_->DMAState) & DMAQueueOn) != 0;
        if (Load(chip_->QueueTail) == tail) {
            return on && head != tail;
        }
    }]]
[[    tail = Load(chip_->QueueTail);
    return Load(chip_->QueueHead) != tail;]])
variant(one_entry_a_call handler [[            Start(tail);
            continue;]]
[[            Start(tail);
            Store(chip_->QueueRunning, 0);
            return;]])
