// Reads a recording, or writes one, with the container's own JavaScript library, for the tests.
//   node mcapcross.mjs read <file>    prints what it holds as JSON
//   node mcapcross.mjs write <file>   writes 30 messages, a file and metadata
import { McapIndexedReader, McapWriter } from "@mcap/core";
import { decompress } from "fzstd";
import { open } from "node:fs/promises";

const [command, path] = process.argv.slice(2);
const text = (bytes) => new TextDecoder().decode(bytes);

async function read() {
  const file = await open(path, "r");
  const readable = {
    size: async () => BigInt((await file.stat()).size),
    read: async (offset, size) => {
      const buffer = new Uint8Array(Number(size));
      await file.read(buffer, 0, buffer.length, Number(offset));
      return buffer;
    },
  };
  const decompressHandlers = { zstd: (bytes) => decompress(bytes) };
  const reader = await McapIndexedReader.Initialize({ readable, decompressHandlers });
  const result = { messages: [], attachments: [], metadata: [], schemas: [] };
  for await (const message of reader.readMessages({ validateCrcs: true })) {
    const channel = reader.channelsById.get(message.channelId);
    result.messages.push({
      topic: channel.topic, encoding: channel.messageEncoding, time: String(message.logTime), size: message.data.length,
      text: channel.messageEncoding === "json" ? text(message.data) : "",
    });
  }
  for await (const attachment of reader.readAttachments({ validateCrcs: true }))
    result.attachments.push({ name: attachment.name, text: text(attachment.data) });
  for await (const metadata of reader.readMetadata())
    result.metadata.push({ name: metadata.name, values: Object.fromEntries(metadata.metadata) });
  for (const schema of reader.schemasById.values())
    result.schemas.push({ name: schema.name, encoding: schema.encoding });
  console.log(JSON.stringify(result));
}

async function write() {
  const file = await open(path, "w");
  let position = 0n;
  const writable = {
    position: () => position,
    write: async (bytes) => {
      await file.write(bytes);
      position += BigInt(bytes.length);
    },
  };
  const writer = new McapWriter({ writable, chunkSize: 400 });
  await writer.start({ profile: "", library: "test" });
  const data = (value) => new TextEncoder().encode(value);
  const schemaId = await writer.registerSchema({ name: "numbers", encoding: "jsonschema", data: data("{}") });
  const channelId = await writer.registerChannel({
    schemaId, topic: "/numbers", messageEncoding: "json", metadata: new Map([["unit", "1"]]),
  });
  for (let i = 0; i < 30; ++i)
    await writer.addMessage({
      channelId, sequence: i, logTime: BigInt(1000 * i), publishTime: BigInt(1000 * i), data: data(JSON.stringify({ n: i })),
    });
  await writer.addAttachment({
    name: "a.txt", mediaType: "text/plain", logTime: 1n, createTime: 1n, data: data("hello"),
  });
  await writer.addMetadata({ name: "robot", metadata: new Map([["name", "anna"]]) });
  await writer.end();
  await file.close();
}

await (command === "read" ? read() : write());
