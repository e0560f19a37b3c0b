#pragma once
/// \class hubstore::redis::RedisStore
/// One agent's five records kept in a Redis database, so that the agent and the
/// mount machinery can run as separate processes around it. The records stay
/// ordinary in-process records in a Mirra::EntityManager, which the library
/// uses as always; the store mirrors them:
///  - the side this process owns (the configuration for an agent, the status
///    for the mount machinery) is written through: every change of a record is
///    sent, in the order it was made, on one pipelined connection;
///  - the other side follows Redis: a change another process writes there
///    (seen through keyspace notifications) is written into the records
///    through their setters, so the library's handlers run.
///
///     RedisStore::Options options{RedisEndpoint::parse("redis://127.0.0.1:6379"), "agentB"};
///     auto em = Mirra::EntityManager::EntityManagerIs();
///     RedisStore store(em, options);
///     store.ownedIs(Side::config, true);
///     store.open();                     // reads what Redis holds; throws RedisStoreError
///     ... create missing records with store.recordIs(path, record), then the service ...
///     loop: poll store.fd() for reading, then store.process();
///
/// There is no thread: the agent's loop polls fd() (one descriptor for both
/// connections, the reconnect timer and pending writes) and calls process(),
/// which reads what has arrived, applies it to the records, and writes what
/// the records' changes queued. An exception that a handler throws while a
/// change is applied leaves process() and the rest waits for the next call.
///
/// Recovery is level-based. On open, after a reconnect, and when the
/// notifications may have been missed (a lost connection), the store reads
/// every key of the agent: the followed side is brought in line with Redis
/// (each change once, each removal once) and the owned side is written again
/// where Redis differs from the records, so a server restarted without
/// persistence gets the configuration back. While the server is away, the
/// records go on changing; reconnection backs off from backoffMin to
/// backoffMax and the state handler and the trace facility "RedisStore" say
/// what the store is doing. A record at one of the five paths is never
/// replaced by the store, only emptied, so the library's references to it
/// stay good.
///
/// Not reentrant: process(), sync() and flush() must not be called from a
/// handler that the store's own apply runs.

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/trace.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/redis/config_lease.h>
#include <hubstore/redis/record_codec.h>
#include <hubstore/redis/record_watcher.h>
#include <hubstore/redis/redis_connection.h>
#include <hubstore/redis/redis_endpoint.h>
#include <hubstore/redis/redis_key_schema.h>
#include <hubstore/redis/sentinel_query.h>
#include <hubstore/redis/store_follower.h>
#include <hubstore/redis/store_handshake.h>
#include <hubstore/redis/store_poller.h>
#include <hubstore/redis/store_resync.h>
#include <hubstore/redis/store_writer.h>
#include <hubstore/redis/write_through.h>

namespace Controller {
class HubstoreService;
}

namespace hubstore::redis {

/// The store's trace facility, "RedisStore": level 5 for state changes and
/// failed writes, 7 for what a resynchronisation did.
extern Vex::TraceHandle redisStoreTrace;

class RedisStore {
 public:
  /// Where the store stands: `closed` (before open()), `connecting`, `syncing`
  /// (reading every key), `live`, `disconnected` (waiting to reconnect), and
  /// `standby`: live and reading the status, but another process of the same
  /// agent holds the configuration's lease: this one writes no configuration
  /// (its own declarations wait in its records) until it takes the lease.
  enum class State { closed, connecting, syncing, live, standby, disconnected };
  /// The state's name: "closed", "connecting", ...
  static const char* stateName(State state);

  /// Every limit counts silence, not work: an open or a resynchronisation
  /// that keeps receiving replies goes on however large the agent's records.
  struct Options {
    /// Where the server is: a redis:// or redis-sentinel:// endpoint.
    RedisEndpoint endpoint;
    /// The agent whose records the store keeps; it names the agent's keys.
    std::string agentName;
    /// open() gives up when the server has answered nothing for this long (a
    /// server that is not there, or one that stopped answering).
    std::chrono::milliseconds openTimeout{5000};
    /// A connection attempt, or a resynchronisation, that gets no answer for
    /// this long counts as lost.
    std::chrono::milliseconds attemptTimeout{3000};
    /// How often a live store checks that the server answers and that the
    /// agent's root keys are still there.
    std::chrono::milliseconds checkInterval{1000};
    /// How long the configuration's lease lasts unless renewed (every
    /// checkInterval): a process that stops renewing it (killed, stopped) is
    /// followed by a standby within leaseTime plus checkInterval.
    std::chrono::milliseconds leaseTime{3000};
    /// Reconnection backs off from backoffMin, doubling up to backoffMax.
    ///@{
    std::chrono::milliseconds backoffMin{50};
    std::chrono::milliseconds backoffMax{2000};
    ///@}
    /// A redis-sentinel:// endpoint: how long each sentinel has to answer
    /// where the master is before the next one is asked.
    std::chrono::milliseconds sentinelTimeout{500};
    /// An observer (hubstore-sim --inspect): both sides follow Redis and
    /// nothing is ever written. Owning a side, recordIs() and recordDel()
    /// raise std::logic_error; no lease is taken; the keyspace event classes
    /// are read, never set; and the connections refuse any command that could
    /// write (RedisConnection::readOnlyIs). Without the notifications it
    /// needs, a live read-only store reads every key each checkInterval.
    bool readOnly = false;
    /// Given to the server with CLIENT SETNAME on both connections when not
    /// empty, so that CLIENT LIST and MONITOR tell the process apart; a
    /// refusal is ignored.
    std::string clientName{};
  };
  /// Told of every state change, with what caused it ("" when nothing failed).
  /// Must not throw.
  using StateHandler = std::function<void(State state, const std::string& detail)>;

  /// A closed store over `entityManager`, whose records it mirrors once opened.
  RedisStore(Vex::Ptr<Mirra::EntityManager> entityManager, Options options);
  /// Closes the connections: writes not yet sent are lost (flush() first).
  ~RedisStore();
  /// Not copyable: it owns its connections.
  ///@{
  RedisStore(const RedisStore&) = delete;
  RedisStore& operator=(const RedisStore&) = delete;
  ///@}

  /// Checks that the server answers and takes the login and the database, and
  /// nothing more: no key, no channel. Raises RedisStoreError as open() does.
  /// Through sentinels: the master they name now.
  static void checkServer(const RedisEndpoint& endpoint, std::chrono::milliseconds silence);

  /// Connects and reads every record of the agent that Redis holds into the
  /// entity manager (both sides). Raises RedisStoreError when the server does
  /// not answer within openTimeout (retrying meanwhile), or refuses the login
  /// or the database at once.
  void open();

  /// The side this process writes: its records are written through and, after
  /// a reconnect, written again where Redis lost them; the other side follows
  /// Redis. Owning a side takes effect at once (a process that starts writing
  /// statuses owns them from then on).
  void ownedIs(Side side, bool owned);
  /// Whether this process writes `side`.
  bool owned(Side side) const { return owned_[static_cast<int>(side)]; }

  /// A warm restart (an agent stopping for an upgrade): from now on nothing is
  /// written, so what Redis holds of the owned side stays as it is for the
  /// next run, which takes it over and whose close removes only what it no
  /// longer declares. Call it after flush() and before the service goes: its
  /// teardown then changes the records alone. The store goes on reading.
  void leaveInRedis();

  /// Places `record` at `path` in the entity manager and, at one of the five
  /// paths, writes it to Redis in place of what was there.
  void recordIs(const Vex::String& path, const Vex::Ptr<Vex::Entity>& record);
  /// Removes the record at `path`, and its keys; false when there was none.
  bool recordDel(const Vex::String& path);

  /// Readable when process() has work.
  int fd() const { return poller_.fd(); }
  /// Reads what has arrived, applies it to the records, writes what the records'
  /// changes queued, and runs the reconnect and check timers when due; it does
  /// not block. An exception a handler throws while a change is applied leaves
  /// it; the rest waits for the next call. A call from the store's own
  /// handlers returns at once.
  void process();

  /// Where the store stands.
  State state() const { return state_; }
  /// The server sends the keyspace notifications the store needs, as far as
  /// it could tell (a user denied CONFIG GET cannot); a read-only store that
  /// finds them off follows by polling.
  bool notificationsOn() const { return notificationsOn_; }
  /// This process writes the configuration: it owns it and holds its lease.
  bool leaseHeld() const { return lease_.hold() == ConfigLease::Hold::held; }
  /// Gives the configuration's lease up at once (when held), so that the next
  /// process of the agent need not wait for it to run out: call it when the
  /// agent stops, before flush(). This process writes no configuration more.
  void leaseRelease();
  /// Installs the handler of state changes (replacing any).
  void stateHandlerIs(StateHandler handler) { stateHandler_ = std::move(handler); }
  /// Waits until every change made in Redis before the call has been applied
  /// to the records and every write has been answered; false when the server
  /// answers nothing for `silence` meanwhile.
  bool sync(std::chrono::milliseconds silence);
  /// Waits until every write has been answered; false as sync().
  bool flush(std::chrono::milliseconds silence);

  /// The Redis keys of the agent's records.
  const RedisKeySchema& keys() const { return keys_; }
  /// The options the store was made with.
  const Options& options() const { return options_; }
  /// The entity manager whose records the store mirrors.
  const Vex::Ptr<Mirra::EntityManager>& entityManager() const { return em_; }

  /// What the store has met since it was made, for monitoring.
  struct Statistics {
    std::uint64_t failedWrites = 0;    ///< writes the server answered with an error (traced at level 5)
    std::uint64_t oldLayoutKeys = 0;   ///< keys of hubstore 0.2's layout met, and not read (traced at level 5)
    std::uint64_t badRecords = 0;      ///< keys read that could not be read whole (traced at level 5)
    std::uint64_t repairs = 0;         ///< owned keys another client changed or deleted, written back
    std::uint64_t fencedWrites = 0;    ///< configuration writes refused: another process held the lease
    std::uint64_t leasesLost = 0;      ///< times a lease this process held went to another process
    std::uint64_t resyncs = 0;         ///< reads of every key, the first one included
    std::uint64_t keysRead = 0;        ///< keys the last resynchronisation read
    double lastResyncSeconds = 0;      ///< how long the last resynchronisation took, from its SCAN to its end
  };
  /// The store's counts since it was made.
  const Statistics& statistics() const { return statistics_; }
  /// Connections open to the server: 0, 1 or 2 (commands and notifications).
  int connectionsOpen() const { return data_.isOpen() + notifications_.isOpen(); }
  /// Commands sent to the server and not answered yet: writes, and the reads
  /// of a resynchronisation.
  std::size_t pendingReplies() const { return data_.pending(); }
  /// The store's numbers in the Prometheus text format (see StoreMetrics),
  /// after those of `service` when one is given: one call gives an agent's
  /// whole text.
  std::string metricsText(const Controller::HubstoreService* service = nullptr) const;

 private:
  // The store's parts, each a class of its own file, reach its state:
  // StoreHandshake (what a server is asked on connecting), ConfigLease,
  // StoreResync (the read of every key), StoreFollower (notifications, what is
  // applied to the records, bad records), StoreWriter (the owned side's
  // writes and repairs) and WriteThrough (the watchers of the owned side).
  // StorePoller is the descriptor fd() gives; ServerCheck is checkServer().
  friend class StoreHandshake;
  friend class ConfigLease;
  friend class StoreResync;
  friend class StoreFollower;
  friend class StoreWriter;
  friend class WriteThrough;

  // The connections' lifecycle: attempts, through the sentinels or not, the
  // handshake, lost connections with back-off, the periodic check.
  void startAttempt();
  void connectToServer();
  // Drives the sentinel query: the master's address, or a failover announced.
  void followSentinels();
  void dropConnections();
  void lose(const std::string& why);
  void fatal(const std::string& why);
  // A refusal (a login, a permission): the end of open(), or a lost
  // connection once the store has opened.
  void refused(const std::string& why);
  void stateIs(State state, const std::string& detail);
  void updateInterest();
  // Runs process() until `done`; false once the server has answered nothing
  // for `silence`.
  bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds silence);
  // Replies that show progress: not those of an attempt that found a replica.
  std::uint64_t repliesRead() const;
  // An attempt through the sentinels waits for ROLE to say master; its
  // replies count once it has, or are discounted when it is lost before.
  void roleSettled(bool counted);
  void check();
  void resyncNow(const std::string& why);
  // A resynchronisation is over: the store is live (or a standby).
  void synced();

  Vex::Entity* root(RecordSlot slot) const;
  bool writes(Side side) const {
    return owned(side) && (side != Side::config || lease_.hold() != ConfigLease::Hold::standby);
  }
  bool live() const { return state_ == State::live || state_ == State::standby; }

  Vex::Ptr<Mirra::EntityManager> em_;
  Options options_;
  // Where the connections go: the endpoint, or the master the sentinels named.
  RedisEndpoint server_;
  std::optional<SentinelQuery> sentinels_;
  RedisKeySchema keys_;
  bool owned_[2] = {false, false};
  State state_ = State::closed;
  StateHandler stateHandler_;

  StorePoller poller_;
  RedisConnection data_{"data"};
  RedisConnection notifications_{"notifications"};
  std::chrono::milliseconds backoff_{0};
  std::string fatalError_;
  std::string lastError_;
  bool roleUnconfirmed_ = false;  // connected through the sentinels; ROLE has not said master yet
  std::uint64_t repliesAtAttempt_ = 0;
  std::uint64_t unconfirmedReplies_ = 0;
  bool loaded_ = false;  // the first resynchronisation, which loads both sides, is done
  bool processing_ = false;
  bool leaving_ = false;  // leaveInRedis(): nothing more is written
  bool checkPending_ = false;
  bool notificationsOn_ = true;
  std::uint64_t lastReplies_ = 0;
  std::chrono::steady_clock::time_point lastAnswer_;
  bool pongPending_ = false;
  Statistics statistics_;

  StoreHandshake handshake_{*this};
  ConfigLease lease_{*this};
  StoreWriter writer_{*this};
  WriteThrough writeThrough_{*this};
  StoreFollower follower_{*this};
  StoreResync resync_{*this};
};

}  // namespace hubstore::redis
