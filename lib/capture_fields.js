'use strict';

/**
 * The properties of captureNativeJank's argument and their types, in the order in which they are read. A property that
 * goes into the report also has `member`, its name there.
 */
module.exports = [
  { property: 'processId', type: 'number' },
  { property: 'threadId', type: 'number' },
  { property: 'jankType', type: 'string', member: 'jank_type' },
  { property: 'janksDir', type: 'string' },
  { property: 'userId', type: 'string', member: 'user_id' },
  { property: 'deviceId', type: 'string', member: 'device_id' },
  { property: 'version', type: 'string', member: 'version' },
  { property: 'systemVersion', type: 'string', member: 'system_version' },
  { property: 'logFilename', type: 'string', member: 'log_file' },
  { property: 'living', type: 'boolean', member: 'living' },
  { property: 'uptime', type: 'number', member: 'uptime' },
  { property: 'duration', type: 'number', member: 'duration' },
];
