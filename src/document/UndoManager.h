#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <utility>

namespace quillmor {

/// The undo and redo history of one document. A step is a handler that takes the document one step
/// back and, while doing so, registers the handler that takes it forward again. Every registration
/// is one step. Main thread only.
class UndoManager {
 private:
  struct Step;
  /// The newest step is the last. Steps move from list to list, which takes no memory.
  using Steps = std::list<Step>;

 public:
  using Handler = std::function<void()>;

  /// A step that needs no more memory to be added.
  class PreparedStep {
   private:
    friend class UndoManager;
    /// Empty while registration is disabled.
    Steps step_;
  };

  /// What the observer is told: after a new step was registered, and after an undo or redo has run.
  enum class Event { didRegister, didUndo, didRedo };

  /// Prepares a step of `target`. Everything that can fail when memory runs out happens here.
  PreparedStep prepareUndo(const void* target, Handler handler, std::string actionName = {}) const;

  /// Adds a step as `registerUndo` does. The history is complete before the observer is told, even
  /// if the observer fails.
  void commit(PreparedStep prepared);

  /// Adds a step. While an undo runs it becomes a redo step, and while a redo runs an undo step,
  /// both with the name of the running step. Otherwise it becomes an undo step without a name and
  /// nothing can be redone any more. Does nothing while registration is disabled. `target` stands
  /// for the object whose steps can be removed together.
  void registerUndo(const void* target, Handler handler);

  /// Names the step that was registered last. Does nothing while registration is disabled.
  void setActionName(std::string name);
  /// Name of the step that `undo` would run; empty when there is none.
  std::string undoActionName() const;
  /// Name of the step that `redo` would run; empty when there is none.
  std::string redoActionName() const;

  bool canUndo() const { return !undoSteps_.empty(); }
  bool canRedo() const { return !redoSteps_.empty(); }

  /// Runs the newest undo step, if there is one. A step that registers no inverse cannot be redone,
  /// nor can later steps, because redo must never skip a change. Handlers must not call this. A
  /// handler that throws must not have changed anything; the history stays as it was. Everything is
  /// done before the observer is told, even if the observer fails.
  void undo();
  /// The same for the newest redo step.
  void redo();
  bool isUndoing() const { return running_ == Running::undo; }
  bool isRedoing() const { return running_ == Running::redo; }

  /// Removes all steps.
  void removeAllActions();
  /// Removes the steps that were registered for `target`.
  void removeAllActions(const void* target);

  /// How many steps are kept in either direction; 0 means all.
  int levelsOfUndo() const { return levels_; }
  /// Removes the steps farthest from the present when there are more than `levels` (0 or more).
  void setLevelsOfUndo(int levels);

  bool isUndoRegistrationEnabled() const { return disabledCount_ == 0; }
  void disableUndoRegistration() { ++disabledCount_; }
  /// Takes back one `disableUndoRegistration`; one too many stops the process.
  void enableUndoRegistration();

  void setObserver(std::function<void(Event)> observer) { observer_ = std::move(observer); }

 private:
  struct Step {
    const void* target;
    Handler handler;
    std::string actionName;
  };
  enum class Running { nothing, undo, redo };

  void run(Running direction, Steps& from, Steps& to);
  void trim(Steps& steps) const;
  void notify(Event event) const;

  Steps undoSteps_;
  Steps redoSteps_;
  Running running_ = Running::nothing;
  /// Name and number of inverses of the step that is running.
  std::string runningName_;
  int inverses_ = 0;
  int levels_ = 0;
  int disabledCount_ = 0;
  std::function<void(Event)> observer_;
};

/// Returns how many undo steps an editor keeps when documents may have up to
/// `maximumDocumentByteCount` bytes: one for every 64 MiB, between 4 and 16.
int undoLevelCap(std::int64_t maximumDocumentByteCount);

}  // namespace quillmor
