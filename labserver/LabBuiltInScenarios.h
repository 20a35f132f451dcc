#pragma once

/// The scenarios that every lab server knows.
inline constexpr const char* BUILT_IN_SCENARIOS = R"([
    {"name": "expired-cert", "title": "Certificate expired", "titleZh": "证书已过期",
     "description": "New HTTPS connections are shown a certificate that expired yesterday. GET /lab/authority.pem gives the authority that signed it.",
     "descriptionZh": "新的 HTTPS 连接会得到一张昨天已过期的证书。GET /lab/authority.pem 提供签发它的机构证书。",
     "steps": [{"tls": "expired"}]},
    {"name": "gateway-error", "title": "Gateway error for a minute", "titleZh": "网关错误一分钟",
     "description": "Every request gets 502, as from a gateway whose server is down. Nothing is stored.",
     "descriptionZh": "所有请求都得到 502，如同网关后面的服务器已停机。不存储任何数据。",
     "steps": [{"forMs": 60000, "faults": [
        {"path": "/", "untilCleared": true, "status": 502, "contentType": "text/html",
         "body": "<html><head><title>502 Bad Gateway</title></head><body>502 Bad Gateway</body></html>"}]}]},
    {"name": "login-page", "title": "Login page instead of JSON", "titleZh": "登录页面代替 JSON",
     "description": "Every request gets an HTML page with status 200, as from a portal that asks for a login.",
     "descriptionZh": "所有请求都得到状态码 200 的 HTML 页面，如同要求登录的门户。",
     "steps": [{"faults": [
        {"path": "/", "untilCleared": true, "status": 200, "contentType": "text/html",
         "body": "<html><head><title>Login</title></head><body><form>Name <input></form></body></html>"}]}]},
    {"name": "lost-acknowledgements", "title": "Lost acknowledgements", "titleZh": "确认丢失",
     "description": "Reports are stored, but their connections are reset before the reply.",
     "descriptionZh": "上报数据已存储，但连接在应答前被复位。",
     "steps": [{"faults": [
        {"path": "/vomd/system/addstatuslog.action", "untilCleared": true, "reset": true, "stored": true},
        {"path": "/vomd/system/incubatorStatus.action", "untilCleared": true, "reset": true, "stored": true},
        {"path": "/dev-api", "untilCleared": true, "reset": true, "stored": true},
        {"path": "/open", "untilCleared": true, "reset": true, "stored": true},
        {"path": "/core", "untilCleared": true, "reset": true, "stored": true}]}]},
    {"name": "restart", "title": "Restart", "titleZh": "重启",
     "description": "The server ends all connections, is away for ten seconds, and comes back.",
     "descriptionZh": "服务器断开所有连接，离线十秒后恢复。",
     "steps": [{"restartMs": 10000}]},
    {"name": "slow", "title": "Slow", "titleZh": "缓慢",
     "description": "Every reply comes two seconds late.", "descriptionZh": "所有应答延迟两秒。",
     "steps": [{"faults": [{"path": "/", "untilCleared": true, "delayMs": 2000}]}]}
])";
