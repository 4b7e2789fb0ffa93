#pragma once

#include <memory>

#include "platform/Thread.h"
#include "runtime/rtemsTask.h"

// Deletes a task like rtems_task_delete; with aUnwind false the calling task's own thread is cut off instead.
rtems_status_code DeleteTask(rtems_id aId, bool aUnwind);
